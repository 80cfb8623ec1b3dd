#include "Commands.hpp"

#include "Text.hpp"

#include <algorithm>
#include <cstdio>

namespace QVLog {

namespace {

struct Findings {
    std::uint64_t blocks = 0;
    std::uint64_t lines = 0;
    std::uint64_t dropped = 0;
    int status = Sound;
};

void Print(const std::string& path, const std::string& text)
{
    std::string line;
    AppendVisible(line, path == "-" ? "standard input" : path);
    line += ": " + text + '\n';
    std::fputs(line.c_str(), stdout);
}

std::string Count(std::uint64_t count, const char* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

void CountDamage(const std::string& path, const LogReader& reader, Findings& findings)
{
    if (!reader.HasHeader() && reader.IsLost()) {
        findings.status = NoLog;
        return;
    }
    findings.status = std::max<int>(findings.status, Damaged);
    findings.dropped += reader.GetSize();
    Print(path, DescribeDamage(reader, reader.GetSize()));
}

Findings CheckRecords(const std::string& path, LogReader& reader)
{
    Findings findings;
    for (;;) {
        switch (reader.Next()) {
        case Event::Header:
            ++findings.blocks;
            break;
        case Event::Line:
            findings.lines += reader.GetDescriptor().own == OwnLine::None;
            break;
        case Event::Damage:
            CountDamage(path, reader, findings);
            break;
        case Event::TornTail: {
            const std::uint64_t rest = reader.GetInput().GetWindow().size();
            findings.status = std::max<int>(findings.status, Torn);
            findings.dropped += rest;
            Print(path, "ends within a record: " + Count(rest, "byte") + " at " +
                            std::to_string(reader.GetOffset()) + " dropped");
            return findings;
        }
        case Event::End:
            if (!reader.HasHeader()) {
                findings.status = NoLog;
            }
            return findings;
        default:
            break;
        }
    }
}

} // namespace

int Check(const Options& options)
{
    static const char* const words[] = {"sound", "torn tail", "damaged inside", "no log"};
    int status = Sound;
    for (const std::string& path : options.files) {
        std::string reason;
        auto file = OpenLogFile(path, reason);
        if (file == nullptr) {
            Complain(path, reason);
            status = std::max<int>(status, CannotRead);
            continue;
        }
        LogReader reader(std::move(file), false);
        const Findings findings = CheckRecords(path, reader);
        Print(path, std::string(words[findings.status]) + ", " + Count(findings.blocks, "block") + ", " +
                        Count(findings.lines, "line") + ", " + Count(findings.dropped, "byte") + " dropped");
        status = std::max(status, findings.status);
    }
    return status;
}

} // namespace QVLog
