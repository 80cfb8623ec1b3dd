#include <QVRoot/Threading/SpinLock.hpp>

#include <QVRoot/Threading/Atomic.hpp>
#include <QVRoot/Threading/BusyWaitImpl.hpp>
#include <QVRoot/Threading/FastLockImpl.hpp>

namespace QV {

SpinLock::~SpinLock() = default;

void SpinLock::Acquire(bool)
{
    for (Impl::BusyWait wait; !AtomicCompareAndSwap(&flag_, 0, 1);) {
        wait.Yield();
    }
}

bool SpinLock::TryAcquire(UInt32 timeoutMs, bool, UInt32* remaining)
{
    if (remaining != nullptr) {
        *remaining = timeoutMs;
    }
    return AtomicCompareAndSwap(&flag_, 0, 1);
}

void SpinLock::Release()
{
    AtomicStore(&flag_, 0);
}

ReentrantSpinLock::~ReentrantSpinLock() = default;

bool ReentrantSpinLock::TryAcquireOnce(Int64 me) noexcept
{
    // Only the owner itself can find its own id here.
    if (AtomicLoad(&ownerThreadId_) == me) {
        ++holdCount_;
        return true;
    }
    if (!AtomicCompareAndSwap(&flag_, 0, 1)) {
        return false;
    }
    AtomicStore(&ownerThreadId_, me);
    holdCount_ = 1;
    return true;
}

void ReentrantSpinLock::Acquire(bool)
{
    const Int64 me = Impl::GetCurrentId();
    for (Impl::BusyWait wait; !TryAcquireOnce(me);) {
        wait.Yield();
    }
}

bool ReentrantSpinLock::TryAcquire(UInt32 timeoutMs, bool, UInt32* remaining)
{
    if (remaining != nullptr) {
        *remaining = timeoutMs;
    }
    return TryAcquireOnce(Impl::GetCurrentId());
}

void ReentrantSpinLock::Release()
{
    if (--holdCount_ == 0) {
        AtomicStore(&ownerThreadId_, 0);
        AtomicDecrement(&flag_);
    }
}

} // namespace QV
