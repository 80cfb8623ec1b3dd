/// Decides which lines are wanted.
#pragma once

#include "LineSource.hpp"
#include "Options.hpp"
#include "Text.hpp"

namespace QVLog {

class LineFilter {
public:
    /// Throws `std::invalid_argument` for a time that is none.
    explicit LineFilter(const Filter& filter);

    /// Looks at the line that the source stands at. `message` makes its text, when it is asked for.
    template <class MakeMessage>
    bool Wants(const LineSource& source, MakeMessage message)
    {
        const LogReader& reader = source.GetReader();
        const Descriptor& descriptor = reader.GetDescriptor();
        if (!isNeeded_) {
            return true;
        }
        if (descriptor.level == Level::Data) {
            return last_;
        }
        if (descriptor.verdict == 0) {
            descriptor.verdict = WantsSite(descriptor) ? 1 : 2;
        }
        last_ =
            descriptor.verdict == 1 && WantsMoment(reader) && (filter_.text.empty() || HasText(message()));
        return last_;
    }

private:
    bool WantsSite(const Descriptor& descriptor) const;
    bool WantsMoment(const LogReader& reader);
    bool WantsThread(const LogReader& reader) const;
    bool HasText(std::string_view message) const;

    Filter filter_;
    bool isNeeded_;
    bool last_ = true;
    bool hasZone_ = false;
    std::int32_t zone_ = 0;
    std::int64_t since_ = INT64_MIN;
    std::int64_t until_ = INT64_MAX;
};

} // namespace QVLog
