#include "LogFile.hpp"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace QVLog {

namespace {

class PosixFile : public LogFile {
public:
    explicit PosixFile(int descriptor) : descriptor_(descriptor)
    {
        isSeekable_ = fstat(descriptor_, &status_) == 0 && S_ISREG(status_.st_mode);
    }
    ~PosixFile() override { close(descriptor_); }

    std::size_t Read(std::uint64_t offset, unsigned char* to, std::size_t count) override
    {
        for (;;) {
            const ssize_t got = isSeekable_ ? pread(descriptor_, to, count, static_cast<off_t>(offset))
                                            : read(descriptor_, to, count);
            if (got >= 0 || errno != EINTR) {
                return got > 0 ? static_cast<std::size_t>(got) : 0;
            }
        }
    }
    bool IsSeekable() const override { return isSeekable_; }
    std::uint64_t GetSize() const override
    {
        struct stat status;
        return fstat(descriptor_, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
    }
    bool IsAt(const std::string& path) const override
    {
        struct stat status;
        return !isSeekable_ || (stat(path.c_str(), &status) == 0 && status.st_dev == status_.st_dev &&
                                status.st_ino == status_.st_ino);
    }

private:
    int descriptor_;
    bool isSeekable_ = false;
    struct stat status_ = {};
};

} // namespace

std::unique_ptr<LogFile> OpenLogFile(const std::string& path, std::string& reason)
{
    const int descriptor =
        path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) {
        reason = std::strerror(errno);
        return nullptr;
    }
    auto file = std::make_unique<PosixFile>(descriptor);
    struct stat status;
    if (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        reason = std::strerror(EISDIR);
        return nullptr;
    }
    return file;
}

} // namespace QVLog
