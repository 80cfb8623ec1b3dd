#include <QVRoot/Threading/ReadWriteLock.hpp>

#include <QVRoot/Threading/HandOverLockImpl.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>

namespace QV {

namespace Impl {

template <class L>
ReadWriteLockOver<L>::ReadWriteLockOver() : noReaders_(lock_), readLock_(*this), writeLock_(*this)
{
}

template <class L>
ReadWriteLockOver<L>::~ReadWriteLockOver() = default;

template <class L>
void ReadWriteLockOver<L>::ReadLock::Acquire(bool interruptible)
{
    HandOverLock& inner = HandOverLock::Get(owner_->lock_);
    if (inner.TryEnterReader()) [[likely]] {
        return;
    }
    const LockGuard guard(owner_->lock_, interruptible);
    inner.AddReaders(1);
}

template <class L>
bool ReadWriteLockOver<L>::ReadLock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const RemainingTime time(timeoutMs, remaining);
    HandOverLock& inner = HandOverLock::Get(owner_->lock_);
    if (inner.TryEnterReader()) [[likely]] {
        return true;
    }
    if (!owner_->lock_.TryAcquire(timeoutMs, interruptible, nullptr)) {
        return false;
    }
    const LockGuard guard(owner_->lock_, LockGuard::Adopt());
    inner.AddReaders(1);
    return true;
}

template <class L>
void ReadWriteLockOver<L>::ReadLock::Release()
{
    HandOverLock& inner = HandOverLock::Get(owner_->lock_);
    if (inner.TryLeaveReader()) [[likely]] {
        return;
    }
    const LockGuard guard(owner_->lock_);
    if (inner.AddReaders(-1) == 0) {
        inner.SetWriterWaits(false);
        owner_->noReaders_.NotifyAll();
    }
}

template <class L>
void ReadWriteLockOver<L>::WriteLock::Acquire(bool interruptible)
{
    HandOverLock& inner = HandOverLock::Get(owner_->lock_);
    owner_->lock_.Acquire(interruptible);
    try {
        while (inner.GetReaders() >= 1) {
            inner.SetWriterWaits(true);
            owner_->noReaders_.Wait(interruptible);
        }
    } catch (...) {
        owner_->lock_.Release();
        throw;
    }
}

template <class L>
bool ReadWriteLockOver<L>::WriteLock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const RemainingTime time(timeoutMs, remaining);
    HandOverLock& inner = HandOverLock::Get(owner_->lock_);
    UInt32 left = timeoutMs;
    // The clock is needed only when there was something to wait for.
    if (!owner_->lock_.TryAcquire(UInt32{0}, interruptible, nullptr) &&
        (timeoutMs == 0 || !owner_->lock_.TryAcquire(timeoutMs, interruptible, &left))) {
        return false;
    }
    bool acquired = false;
    try {
        if (inner.GetReaders() >= 1) {
            inner.SetWriterWaits(true);
            owner_->noReaders_.Wait(left, interruptible, nullptr);
        }
        acquired = inner.GetReaders() < 1;
    } catch (...) {
        owner_->lock_.Release();
        throw;
    }
    if (!acquired) {
        owner_->lock_.Release();
    }
    return acquired;
}

template <class L>
void ReadWriteLockOver<L>::WriteLock::Release()
{
    owner_->lock_.Release();
}

} // namespace Impl

ReadWriteLock::ReadWriteLock() = default;
ReadWriteLock::~ReadWriteLock() = default;

ReentrantReadWriteLock::ReentrantReadWriteLock() = default;
ReentrantReadWriteLock::~ReentrantReadWriteLock() = default;

} // namespace QV
