/// A log as the operating system keeps it: a file, which others may append to, rename or cut while it is
/// open, or a pipe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace QVLog {

class LogFile {
public:
    LogFile() = default;
    virtual ~LogFile() = default;
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Reads up to `count` bytes from an offset; a pipe goes on where it stands. 0 at the end and on errors,
    /// which are as good as the end.
    virtual std::size_t Read(std::uint64_t offset, unsigned char* to, std::size_t count) = 0;
    virtual bool IsSeekable() const = 0;
    virtual std::uint64_t GetSize() const = 0;
    /// Whether a path still leads to this file.
    virtual bool IsAt(const std::string& path) const = 0;
};

/// "-" is the standard input. Null, with the reason, when it cannot be opened. Paths are UTF-8.
std::unique_ptr<LogFile> OpenLogFile(const std::string& path, std::string& reason);

} // namespace QVLog
