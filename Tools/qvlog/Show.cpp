#include "Commands.hpp"

#include "LineFilter.hpp"
#include "LineWriter.hpp"
#include "Merger.hpp"
#include "Output.hpp"

#include <algorithm>
#include <chrono>
#include <thread>

namespace QVLog {

namespace {

constexpr auto pollInterval = std::chrono::milliseconds(50);

class Viewer {
public:
    explicit Viewer(const Options& options)
        : options_(options), filter_(options.filter), writer_(MakeLineWriter(options)), output_(stdout)
    {
    }

    /// Shows what there is; false when nobody takes it.
    bool ShowAll(Merger& merger)
    {
        while (const LineSource* const source = merger.Next()) {
            const LogReader& reader = source->GetReader();
            bool isMade = false;
            const auto makeMessage = [&] {
                message_.clear();
                AppendMessage(message_, reader.GetDescriptor(), reader.GetValues(), clock_,
                              options_.isUtc ? 0 : reader.GetUtcOffset());
                isMade = true;
                return std::string_view(message_);
            };
            if (!filter_.Wants(*source, makeMessage)) {
                continue;
            }
            writer_->Write(output_.GetText(), *source, isMade ? std::string_view(message_) : makeMessage());
            if (!output_.FlushIfLong()) {
                return false;
            }
        }
        return true;
    }

    int Show(Merger& merger)
    {
        for (const auto& source : merger.GetSources()) {
            source->GetReader().GetInput().SetBeforeWait([this] { output_.Flush(); });
        }
        writer_->Begin(output_.GetText());
        if (!ShowAll(merger) || (options_.follows && !Follow(merger))) {
            return CannotWrite;
        }
        writer_->End(output_.GetText());
        if (!output_.Flush()) {
            return CannotWrite;
        }
        bool isLog = false;
        for (const auto& source : merger.GetSources()) {
            source->ReportEnd();
            isLog |= source->GetStatus() != NoLog;
        }
        return isLog ? Sound : NoLog;
    }

private:
    /// Ends when nobody takes the lines any more, which is a failure, or when there is nothing to come.
    bool Follow(Merger& merger)
    {
        const auto mayGrow = [](const auto& source) {
            return source->GetReader().GetInput().GetFile().IsSeekable();
        };
        for (;;) {
            if (!output_.Flush()) {
                return false;
            }
            if (std::none_of(merger.GetSources().begin(), merger.GetSources().end(), mayGrow)) {
                return true;
            }
            std::this_thread::sleep_for(pollInterval);
            for (std::size_t i = 0; i < merger.GetSources().size(); ++i) {
                Refresh(merger, i);
            }
            merger.Retry();
            if (!ShowAll(merger)) {
                return false;
            }
        }
    }

    /// Goes over to the file that has the log's name now, behind the last line of the old one, and to the
    /// beginning of one that was cut.
    void Refresh(Merger& merger, std::size_t i)
    {
        LineSource& source = *merger.GetSources()[i];
        Input& input = source.GetReader().GetInput();
        const std::uint64_t seen = input.GetOffset() + input.GetWindow().size();
        const bool isCut = input.GetFile().IsSeekable() && input.GetFile().GetSize() < seen;
        if (!isCut && (input.GetFile().IsAt(source.GetPath()) || input.GetFile().GetSize() > seen)) {
            return;
        }
        std::string reason;
        if (auto file = OpenLogFile(source.GetPath(), reason)) {
            merger.Replace(i, std::make_unique<LineSource>(source.GetPath(), std::move(file), true));
        }
    }

    const Options& options_;
    LineFilter filter_;
    std::unique_ptr<LineWriter> writer_;
    Output output_;
    Clock clock_;
    std::string message_;
};

} // namespace

std::unique_ptr<LineSource> OpenSource(const std::string& path, bool isLive)
{
    std::string reason;
    auto file = OpenLogFile(path, reason);
    if (file == nullptr) {
        Complain(path, reason);
        return nullptr;
    }
    return std::make_unique<LineSource>(path, std::move(file), isLive);
}

std::vector<std::unique_ptr<LineSource>> OpenSources(const Options& options, bool isLive)
{
    std::vector<std::unique_ptr<LineSource>> sources;
    for (const std::string& path : options.files) {
        sources.push_back(OpenSource(path, isLive));
        if (sources.back() == nullptr) {
            return {};
        }
    }
    return sources;
}

int Show(const Options& options)
{
    Viewer viewer(options);
    auto sources = OpenSources(options, options.follows);
    if (sources.empty()) {
        return CannotRead;
    }
    Merger merger(std::move(sources));
    return viewer.Show(merger);
}

} // namespace QVLog
