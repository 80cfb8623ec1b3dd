#include <QVRoot/Threading/ParkImpl.hpp>

#include <immintrin.h>

#include <windows.h>

namespace QV::Impl {

namespace {

constexpr UInt64 nanosInSecond = 1'000'000'000;
constexpr UInt64 nanosInMilli = 1'000'000;
constexpr UInt32 spinLimit = 32;

UInt64 GetTicksPerSecond() noexcept
{
    static constinit std::atomic<UInt64> frequency = 0;
    UInt64 known = frequency.load(std::memory_order_relaxed);
    if (known == 0) {
        LARGE_INTEGER value;
        QueryPerformanceFrequency(&value);
        known = static_cast<UInt64>(value.QuadPart);
        frequency.store(known, std::memory_order_relaxed);
    }
    return known;
}

/// Whole milliseconds from now to the deadline, rounded up; 0 when it has passed.
DWORD GetMillisecondsLeft(Deadline deadline) noexcept
{
    constexpr UInt64 most = INFINITE - 1;
    const UInt64 now = GetMonotonicNanos();
    if (deadline.nanos <= now) {
        return 0;
    }
    const UInt64 left = (deadline.nanos - now + nanosInMilli - 1) / nanosInMilli;
    return static_cast<DWORD>(left < most ? left : most);
}

void* GetAddress(const std::atomic<UInt32>& word) noexcept
{
    static_assert(sizeof(word) == sizeof(UInt32));
    return const_cast<std::atomic<UInt32>*>(&word);
}

} // namespace

UInt64 GetMonotonicNanos() noexcept
{
    const UInt64 perSecond = GetTicksPerSecond();
    LARGE_INTEGER value;
    QueryPerformanceCounter(&value);
    const UInt64 ticks = static_cast<UInt64>(value.QuadPart);
    // In two steps, so that nothing overflows.
    return ticks / perSecond * nanosInSecond + ticks % perSecond * nanosInSecond / perSecond;
}

ParkResult Park(const std::atomic<UInt32>& word, UInt32 value, Deadline deadline) noexcept
{
    DWORD milliseconds = INFINITE;
    if (deadline.nanos != Deadline::Never) {
        milliseconds = GetMillisecondsLeft(deadline);
        if (milliseconds == 0) {
            return ParkResult::TimedOut;
        }
    }
    const DWORD lastError = GetLastError();
    ParkResult result = ParkResult::Woken;
    if (!WaitOnAddress(GetAddress(word), &value, sizeof(value), milliseconds)) {
        // Whether the time is over is decided by our own clock, when the caller comes back.
        result = GetLastError() == ERROR_TIMEOUT ? ParkResult::Woken : ParkResult::Failed;
    }
    SetLastError(lastError);
    return result;
}

bool UnparkOne(const std::atomic<UInt32>& word) noexcept
{
    WakeByAddressSingle(GetAddress(word));
    return true;
}

bool UnparkAll(const std::atomic<UInt32>& word) noexcept
{
    WakeByAddressAll(GetAddress(word));
    return true;
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
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        known = (info.dwNumberOfProcessors > 1 ? spinLimit : 0) + 1;
        limitPlusOne.store(known, std::memory_order_relaxed);
    }
    return known - 1;
}

} // namespace QV::Impl
