#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/ImplementationImpl.hpp>
#include <QVRoot/Threading/NamedSemaphoreImpl.hpp>
#include <QVRoot/Threading/ParkImpl.hpp>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

namespace QV::Impl {

namespace {

constexpr const char* folder = "/dev/shm/";
constexpr const char* filePrefix = "QV.";
constexpr UInt32 longestFileName = 255;

/// The file's name for a semaphore's: letters, digits and a few others stand for themselves, all other bytes
/// of the UTF-8 text are written in hexadecimal.
class FilePath {
public:
    /// False when the name makes no file.
    bool Build(const UniString& name)
    {
        const UniString::CStr text = name.ToCStr();
        const char* rest = text;
        // Name spaces of sessions, which are all one here. No other backslash is allowed.
        for (const char* const space : {"Global\\", "Local\\"}) {
            if (std::strncmp(rest, space, std::strlen(space)) == 0) {
                rest += std::strlen(space);
                break;
            }
        }
        Append(folder);
        Append(filePrefix);
        for (; *rest != 0; ++rest) {
            AppendEscaped(*rest);
        }
        path_[length_] = 0;
        return !isBad_ && length_ - std::strlen(folder) <= longestFileName;
    }

    operator const char*() const noexcept { return path_; }

private:
    static constexpr UInt32 most = 300;

    void Append(char c) noexcept
    {
        if (length_ == most) {
            isBad_ = true;
        } else {
            path_[length_++] = c;
        }
    }
    void Append(const char* text) noexcept
    {
        for (; *text != 0; ++text) {
            Append(*text);
        }
    }
    void AppendEscaped(char c) noexcept
    {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                             c == '.' || c == '_' || c == '-';
        if (c == '\\') {
            isBad_ = true;
        } else if (isPlain) {
            Append(c);
        } else {
            const auto byte = static_cast<unsigned char>(c);
            Append('%');
            Append("0123456789ABCDEF"[byte >> 4]);
            Append("0123456789ABCDEF"[byte & 15]);
        }
    }

    char path_[most + 1];
    UInt32 length_ = 0;
    bool isBad_ = false;
};

/// Two marks on the file, which the system takes away from a process that dies: whoever opens or closes holds
/// the first alone, everybody who uses the semaphore shares the second.
enum Mark : int { OpeningOrClosing = 0, InUse = 1 };

bool SetMark(int file, Mark mark, short kind, bool waits) noexcept
{
    struct flock range = {};
    range.l_type = kind;
    range.l_whence = SEEK_SET;
    range.l_start = mark;
    range.l_len = 1;
    int result;
    do {
        result = fcntl(file, waits ? F_OFD_SETLKW : F_OFD_SETLK, &range);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

/// A file in memory with the semaphore in it. The last one to let go of it removes it.
class SharedFile {
public:
    SharedFile() noexcept = default;
    SharedFile(const SharedFile&) = delete;
    SharedFile& operator=(const SharedFile&) = delete;

    ~SharedFile()
    {
        if (semaphore_ != nullptr) {
            munmap(semaphore_, sizeof(sem_t));
        }
        if (file_ < 0) {
            return;
        }
        // A fork's child shares the marks with its parent, and leaves them to it.
        if (user_ == getpid() && SetMark(file_, OpeningOrClosing, F_WRLCK, true) && IsNamed() &&
            SetMark(file_, InUse, F_WRLCK, false)) {
            unlink(path_);
        }
        close(file_);
    }

    bool Open(const UniString& name, UInt32 initialCount)
    {
        if (!path_.Build(name)) {
            return false;
        }
        do {
            if (!OpenFile()) {
                return false;
            }
        } while (!IsNamed()); // its last user removed it while this one was waiting for its turn
        const bool isFirst = SetMark(file_, InUse, F_WRLCK, false);
        const bool isReady = (!isFirst || Prepare()) && Map() &&
                             (!isFirst || sem_init(semaphore_, 1, initialCount) == 0) &&
                             SetMark(file_, InUse, F_RDLCK, false);
        SetMark(file_, OpeningOrClosing, F_UNLCK, true);
        return isReady;
    }

    sem_t* GetSemaphore() const noexcept { return semaphore_; }

private:
    bool OpenFile() noexcept
    {
        constexpr mode_t everyone = 0666;
        if (file_ >= 0) {
            close(file_);
        }
        file_ = open(path_, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, everyone);
        return file_ >= 0 && SetMark(file_, OpeningOrClosing, F_WRLCK, true);
    }

    /// Whether the open file is still the one that the path leads to.
    bool IsNamed() const noexcept
    {
        struct stat opened;
        struct stat named;
        return fstat(file_, &opened) == 0 && stat(path_, &named) == 0 && opened.st_ino == named.st_ino &&
               opened.st_dev == named.st_dev;
    }

    /// For the first user: the file may be new or left behind by a process that died.
    bool Prepare() noexcept
    {
        constexpr mode_t everyone = 0666;
        // The process's mask has cut the mode. The file may be another user's, who has done this already.
        return (fchmod(file_, everyone) == 0 || errno == EPERM) && ftruncate(file_, sizeof(sem_t)) == 0;
    }

    bool Map() noexcept
    {
        void* const block = mmap(nullptr, sizeof(sem_t), PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0);
        if (block == MAP_FAILED) {
            return false;
        }
        semaphore_ = static_cast<sem_t*>(block);
        return true;
    }

    FilePath path_;
    pid_t user_ = getpid();
    int file_ = -1;
    sem_t* semaphore_ = nullptr;
};

} // namespace

class NamedSemaphoreImpl {
public:
    NamedSemaphoreImpl(const UniString& name, UInt32 initialCount)
    {
        static_assert(namedSemaphoreMaximum == SEM_VALUE_MAX);
        if (initialCount > namedSemaphoreMaximum || !file_.Open(name, initialCount)) {
            QV_THROW(SynchronizationException, "Failed to create named semaphore.");
        }
    }

    bool TryAcquire(UInt32 timeoutMs)
    {
        if (sem_trywait(file_.GetSemaphore()) == 0) {
            return true;
        }
        if (errno == EAGAIN && timeoutMs == 0) {
            return false;
        }
        const Deadline deadline = Deadline::After(timeoutMs);
        int result;
        do {
            result = WaitOnce(deadline);
        } while (result != 0 && errno == EINTR);
        if (result != 0 && errno != ETIMEDOUT) {
            QV_THROW(SynchronizationException, "Failed to acquire the semaphore.");
        }
        return result == 0;
    }

    void Release()
    {
        if (sem_post(file_.GetSemaphore()) != 0) {
            QV_THROW(SynchronizationException, "Failed to release the semaphore.");
        }
    }

private:
    int WaitOnce(Deadline deadline) noexcept
    {
        constexpr UInt64 nanosInSecond = 1'000'000'000;
        if (deadline.nanos == Deadline::Never) {
            return sem_wait(file_.GetSemaphore());
        }
        const timespec until = {static_cast<time_t>(deadline.nanos / nanosInSecond),
                                static_cast<long>(deadline.nanos % nanosInSecond)};
        return sem_clockwait(file_.GetSemaphore(), CLOCK_MONOTONIC, &until);
    }

    SharedFile file_;
};

NamedSemaphoreImpl* OpenNamedSemaphore(const UniString& name, UInt32 initialCount)
{
    return MakeImplementation<NamedSemaphoreImpl>(name, initialCount);
}

bool AcquireNamedSemaphore(NamedSemaphoreImpl& semaphore, UInt32 timeoutMs)
{
    return semaphore.TryAcquire(timeoutMs);
}

void ReleaseNamedSemaphore(NamedSemaphoreImpl& semaphore)
{
    semaphore.Release();
}

void CloseNamedSemaphore(NamedSemaphoreImpl* semaphore) noexcept
{
    DestroyImplementation(semaphore);
}

} // namespace QV::Impl
