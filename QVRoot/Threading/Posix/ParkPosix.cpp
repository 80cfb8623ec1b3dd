#include <QVRoot/Threading/ParkImpl.hpp>

#include <cerrno>
#include <immintrin.h>
#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace QV::Impl {

namespace {

constexpr UInt64 nanosInSecond = 1'000'000'000;
constexpr UInt32 spinLimit = 32;

long Futex(const std::atomic<UInt32>& word, int operation, UInt32 value, const timespec* until) noexcept
{
    static_assert(sizeof(word) == sizeof(UInt32));
    return syscall(SYS_futex, &word, operation | FUTEX_PRIVATE_FLAG, value, until, nullptr,
                   FUTEX_BITSET_MATCH_ANY);
}

UInt32 CountProcessors() noexcept
{
    cpu_set_t set;
    return sched_getaffinity(0, sizeof(set), &set) == 0 ? static_cast<UInt32>(CPU_COUNT(&set)) : 2;
}

} // namespace

UInt64 GetMonotonicNanos() noexcept
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<UInt64>(now.tv_sec) * nanosInSecond + static_cast<UInt64>(now.tv_nsec);
}

ParkResult Park(const std::atomic<UInt32>& word, UInt32 value, Deadline deadline) noexcept
{
    // This form of the wait takes a point in time, so that an interrupted sleep does not start anew.
    const timespec until = {static_cast<time_t>(deadline.nanos / nanosInSecond),
                            static_cast<long>(deadline.nanos % nanosInSecond)};
    const bool limited = deadline.nanos != Deadline::Never;
    if (Futex(word, FUTEX_WAIT_BITSET, value, limited ? &until : nullptr) == 0) {
        return ParkResult::Woken;
    }
    switch (errno) {
    case EAGAIN:
    case EINTR:
        return ParkResult::Woken;
    case ETIMEDOUT:
        return ParkResult::TimedOut;
    default:
        return ParkResult::Failed;
    }
}

bool UnparkOne(const std::atomic<UInt32>& word) noexcept
{
    return Futex(word, FUTEX_WAKE, 1, nullptr) >= 0;
}

bool UnparkAll(const std::atomic<UInt32>& word) noexcept
{
    return Futex(word, FUTEX_WAKE, 0x7FFFFFFF, nullptr) >= 0;
}

void PauseProcessor() noexcept
{
    _mm_pause();
}

UInt32 GetSpinLimit() noexcept
{
    static constinit std::atomic<UInt32> limitPlusOne = 0;
    UInt32 known = limitPlusOne.load(std::memory_order_relaxed);
    if (known == 0) {
        known = (CountProcessors() > 1 ? spinLimit : 0) + 1;
        limitPlusOne.store(known, std::memory_order_relaxed);
    }
    return known - 1;
}

} // namespace QV::Impl
