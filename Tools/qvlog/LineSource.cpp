#include "LineSource.hpp"

#include "Text.hpp"

#include <algorithm>
#include <cstdio>
#include <deque>

namespace QVLog {

namespace {

struct RunEntry {
    Guid guid;
    std::uint32_t process = 0;
};

/// Of all logs, since one run may have several. The last ones are enough.
std::deque<RunEntry> runs;
std::uint32_t forgottenRuns = 0;
constexpr std::size_t mostRuns = 1024;

std::uint32_t EnterRun(const Guid& guid)
{
    const auto known =
        std::find_if(runs.rbegin(), runs.rend(), [&](const RunEntry& run) { return run.guid == guid; });
    if (known != runs.rend()) {
        return forgottenRuns + static_cast<std::uint32_t>(runs.rend() - known);
    }
    runs.push_back({guid, 0});
    if (runs.size() > mostRuns) {
        runs.pop_front();
        ++forgottenRuns;
    }
    return forgottenRuns + static_cast<std::uint32_t>(runs.size());
}

RunEntry* FindRun(std::uint32_t run)
{
    return run > forgottenRuns ? &runs[run - forgottenRuns - 1] : nullptr;
}

} // namespace

std::uint32_t LineSource::GetProcess() const
{
    const RunEntry* const run = FindRun(run_);
    return run != nullptr ? run->process : 0;
}

void Complain(const std::string& name, const std::string& text)
{
    std::string line = "qvlog: ";
    AppendVisible(line, name == "-" ? "standard input" : name);
    line += ": ";
    AppendVisible(line, text);
    line += '\n';
    std::fflush(stdout);
    std::fputs(line.c_str(), stderr);
}

std::string DescribeDamage(const LogReader& reader, std::uint64_t size)
{
    return "damaged at " + std::to_string(reader.GetOffset()) + ": " + reader.GetReason() + "; " +
           std::to_string(size) + " bytes dropped, goes on at " + std::to_string(reader.GetOffset() + size);
}

bool LineSource::Next()
{
    for (;;) {
        switch (reader_.Next()) {
        case Event::Header:
            if (run_ == 0 || !(reader_.GetRun() == guid_)) {
                guid_ = reader_.GetRun();
                run_ = EnterRun(guid_);
            }
            isLost_ = false;
            break;
        case Event::Line:
            if (WantsLine()) {
                return true;
            }
            break;
        case Event::Damage:
            TellDamage();
            break;
        case Event::TornTail:
        case Event::End:
            return false;
        default:
            break;
        }
    }
}

bool LineSource::WantsLine()
{
    const OwnLine own = reader_.GetDescriptor().own;
    if (own == OwnLine::Started) {
        if (RunEntry* const run = FindRun(run_)) {
            run->process = static_cast<std::uint32_t>(reader_.GetValues()[1].cardinal);
        }
    }
    return own != OwnLine::Time && own != OwnLine::Thread;
}

/// Once for each stretch, although a log that grows comes in pieces.
void LineSource::TellDamage()
{
    if ((reader_.HasHeader() || !reader_.IsLost()) && !isLost_) {
        status_ = std::max(status_, 2);
        tell_(path_, DescribeDamage(reader_, reader_.GetSize()));
    }
    isLost_ = reader_.IsLost();
}

void LineSource::ReportEnd()
{
    const std::uint64_t rest = reader_.GetInput().GetWindow().size();
    if (rest != 0 && reader_.GetInput().GetOffset() != reportedTail_) {
        reportedTail_ = reader_.GetInput().GetOffset();
        status_ = std::max(status_, 1);
        tell_(path_, "ends within a record: " + std::to_string(rest) + " bytes at " +
                         std::to_string(reportedTail_) + " dropped");
    } else if (!reader_.HasHeader()) {
        status_ = 3;
        tell_(path_, "no log");
    }
}

} // namespace QVLog
