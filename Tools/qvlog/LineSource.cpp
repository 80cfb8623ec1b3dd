#include "LineSource.hpp"

#include "Text.hpp"

#include <algorithm>
#include <cstdio>

namespace QVLog {

namespace {

std::uint32_t runCount = 0;

} // namespace

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
                run_ = ++runCount;
                process_ = 0;
            }
            break;
        case Event::Line:
            switch (reader_.GetDescriptor().own) {
            case OwnLine::Time:
            case OwnLine::Thread:
                continue;
            case OwnLine::Started:
                process_ = static_cast<std::uint32_t>(reader_.GetValues()[1].cardinal);
                return true;
            default:
                return true;
            }
        case Event::Damage:
            if (reader_.HasHeader() || !reader_.IsLost()) {
                status_ = std::max(status_, 2);
                Complain(path_, DescribeDamage(reader_, reader_.GetSize()));
            }
            break;
        case Event::TornTail:
        case Event::End:
            return false;
        default:
            break;
        }
    }
}

void LineSource::ReportEnd()
{
    const std::uint64_t rest = reader_.GetInput().GetWindow().size();
    if (rest != 0 && reader_.GetInput().GetOffset() != reportedTail_) {
        reportedTail_ = reader_.GetInput().GetOffset();
        status_ = std::max(status_, 1);
        Complain(path_, "ends within a record: " + std::to_string(rest) + " bytes at " +
                            std::to_string(reportedTail_) + " dropped");
    } else if (!reader_.HasHeader()) {
        status_ = 3;
        Complain(path_, "no log");
    }
}

} // namespace QVLog
