/// The forms in which lines are shown.
#pragma once

#include "LineSource.hpp"
#include "Options.hpp"
#include "Text.hpp"

#include <memory>

namespace QVLog {

class LineWriter {
public:
    virtual ~LineWriter() = default;

    virtual void Begin(std::string&) {}
    /// The line that the source stands at. The message holds the line's bytes as they are.
    virtual void Write(std::string& to, const LineSource& source, std::string_view message) = 0;
    virtual void End(std::string&) {}
};

/// Throws `std::invalid_argument` for a format that is none.
std::unique_ptr<LineWriter> MakeLineWriter(const Options& options);

/// The place of the call: "Editor/Open.cpp:42"; what is known of it.
void AppendSite(std::string& to, const Descriptor& descriptor);
/// The thread's name, else its id.
void AppendThread(std::string& to, const LogReader& reader);

} // namespace QVLog
