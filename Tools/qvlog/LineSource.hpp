/// The lines of a log, without the records between them; what was damaged is told on the way.
#pragma once

#include "LogReader.hpp"

#include <string>

namespace QVLog {

/// "qvlog: NAME: text" on the error output.
void Complain(const std::string& name, const std::string& text);
/// "damaged at 1234: why; 56 bytes dropped, goes on at 1290".
std::string DescribeDamage(const LogReader& reader, std::uint64_t size);

class LineSource {
public:
    using Tell = void (*)(const std::string& name, const std::string& text);

    LineSource(std::string path, std::unique_ptr<LogFile> file, bool isLive, Tell tell = Complain)
        : path_(std::move(path)), reader_(std::move(file), isLive), tell_(tell)
    {
    }

    /// Goes to the next line that is not the logger's note of a time or a thread; false at the end, for now.
    bool Next();
    /// Tells of an incomplete record at the end, and of a log that is none.
    void ReportEnd();

    const LogReader& GetReader() const { return reader_; }
    LogReader& GetReader() { return reader_; }
    const std::string& GetPath() const { return path_; }
    /// Which run of a program the line is of, counted over all logs from 1.
    std::uint32_t GetRun() const { return run_; }
    /// Of the run, 0 when it is not known.
    std::uint32_t GetProcess() const;
    /// The worst so far: 0 sound, 1 a torn tail, 2 damage inside, 3 no log.
    int GetStatus() const { return status_; }

private:
    bool WantsLine();
    void TellDamage();

    std::string path_;
    LogReader reader_;
    Tell tell_;
    Guid guid_;
    std::uint32_t run_ = 0;
    int status_ = 0;
    bool isLost_ = false;
    std::uint64_t reportedTail_ = ~std::uint64_t{0};
};

} // namespace QVLog
