#include <QVRoot/Threading/SpinLockImpl.hpp>
#include <QVRoot/Utilities/GuidGeneratorImpl.hpp>
#include <QVRoot/Utilities/RandomStreamPosixImpl.hpp>

#include <pthread.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>

namespace QV::Impl {

namespace {

/// The kernel's random bytes, all n of them.
bool GetKernelRandom(void* dest, USize n) noexcept
{
    char* at = static_cast<char*>(dest);
    const int lastError = errno;
    while (n > 0) {
        const ssize_t got = getrandom(at, n, 0);
        if (got > 0) {
            at += got;
            n -= static_cast<USize>(got);
        } else if (errno != EINTR) {
            return false;
        }
    }
    errno = lastError;
    return true;
}

/// A stream of random bytes that is seeded by the kernel again and again. All bits zero is its start value:
/// its page comes back so in the child after a fork, with the lock open and nothing in stock.
class Generator {
public:
    bool Take(UInt64 (&image)[2]) noexcept
    {
        const SpinLockGuard guard(lock_);
        if (stream_.IsEmpty() && !Refill()) [[unlikely]] {
            return false;
        }
        stream_.Take(image);
        return true;
    }

private:
    bool Refill() noexcept
    {
        if (refillsLeft_ == 0) {
            UInt32 seed[RandomStream::KeyWords];
            if (!GetKernelRandom(seed, sizeof(seed))) {
                return false;
            }
            stream_.Mix(seed);
            refillsLeft_ = refillsPerSeed;
        }
        stream_.Refill();
        --refillsLeft_;
        return true;
    }

    static constexpr UInt32 refillsPerSeed = 16;

    SpinLock lock_;
    UInt32 refillsLeft_;
    RandomStream stream_;
};

/// A page that a fork clears in the child; null where the system cannot.
Generator* MapGenerator() noexcept
{
    const auto size = static_cast<USize>(sysconf(_SC_PAGESIZE));
    static_assert(sizeof(Generator) <= 4096);
    void* const page = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) {
        return nullptr;
    }
    if (madvise(page, size, MADV_WIPEONFORK) != 0) {
        munmap(page, size);
        return nullptr;
    }
    return new (page) Generator();
}

constinit std::atomic<Generator*> generator = nullptr;

Generator* GetGenerator() noexcept
{
    if (Generator* const ready = generator.load(std::memory_order_acquire)) [[likely]] {
        return ready;
    }
    const int lastError = errno;
    Generator* const fresh = MapGenerator();
    Generator* current = nullptr;
    if (fresh != nullptr && !generator.compare_exchange_strong(current, fresh)) {
        munmap(fresh, static_cast<USize>(sysconf(_SC_PAGESIZE)));
    }
    errno = lastError;
    return current != nullptr ? current : fresh;
}

} // namespace

bool GenerateRandomGuid(Guid& value) noexcept
{
    UInt64 image[2];
    Generator* const source = GetGenerator();
    if (source != nullptr ? !source->Take(image) : !GetKernelRandom(image, sizeof(image))) {
        return false;
    }
    // The version 4 is the first digit of the third part, the variant the first two bits of the bytes.
    image[0] = (image[0] & ~(UInt64{0xF} << 60)) | UInt64{4} << 60;
    image[1] = (image[1] & ~UInt64{0xC0}) | 0x80;
    std::memcpy(static_cast<void*>(&value), image, sizeof(image));
    return true;
}

void CallAfterFork(void (*function)()) noexcept
{
    pthread_atfork(nullptr, nullptr, function);
}

} // namespace QV::Impl
