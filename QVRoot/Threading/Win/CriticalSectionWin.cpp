#include <QVRoot/Threading/CriticalSectionImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

#include <cstdlib>
#include <new>

#include <windows.h>

namespace QV::Impl {

void YieldWhileSpinning(UInt32 round) noexcept
{
    if (round < 64) {
        SwitchToThread();
    } else {
        Sleep(1);
    }
}

namespace {

enum : UInt32 { NotBuilt, Building, Built };

} // namespace

void* CriticalSection::GetNative() noexcept
{
    static_assert(sizeof(CRITICAL_SECTION) <= 64);
    if (state_.load(std::memory_order_acquire) != Built) {
        UInt32 expected = NotBuilt;
        if (state_.compare_exchange_strong(expected, Building, std::memory_order_acquire)) {
            InitializeCriticalSection(new (native_) CRITICAL_SECTION);
            state_.store(Built, std::memory_order_release);
        } else {
            for (UInt32 round = 0; state_.load(std::memory_order_acquire) != Built; ++round) {
                YieldWhileSpinning(round);
            }
        }
    }
    return native_;
}

void CriticalSection::Enter() noexcept
{
    EnterCriticalSection(static_cast<CRITICAL_SECTION*>(GetNative()));
}

void CriticalSection::Leave() noexcept
{
    LeaveCriticalSection(static_cast<CRITICAL_SECTION*>(GetNative()));
}

UInt32 ThreadSlot::GetIndex() noexcept
{
    UInt32 indexPlusOne = indexPlusOne_.load(std::memory_order_acquire);
    if (indexPlusOne == 0) {
        // Fiber-local storage is per thread as long as nobody makes fibers, and it has an end callback that
        // is called before the thread's memory goes.
        const DWORD index = FlsAlloc(atThreadEnd_);
        if (index == FLS_OUT_OF_INDEXES) {
            std::abort();
        }
        const UInt32 mine = index + 1;
        if (indexPlusOne_.compare_exchange_strong(indexPlusOne, mine, std::memory_order_acq_rel)) {
            indexPlusOne = mine;
        } else {
            FlsFree(index);
        }
    }
    return indexPlusOne - 1;
}

void* ThreadSlot::Get() noexcept
{
    // A successful query clears the thread's last error, which callers may be about to read.
    const DWORD lastError = GetLastError();
    void* const value = FlsGetValue(GetIndex());
    SetLastError(lastError);
    return value;
}

void ThreadSlot::Set(void* value) noexcept
{
    if (!FlsSetValue(GetIndex(), value)) {
        std::abort();
    }
}

UInt64 GetCurrentThreadNumber() noexcept
{
    return GetCurrentThreadId();
}

} // namespace QV::Impl
