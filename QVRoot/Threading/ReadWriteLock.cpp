#include <QVRoot/Threading/ReadWriteLock.hpp>

#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>

namespace QV {

namespace {

/// What both classes do, over the parts of one of them.
template <class L>
struct Parts {
    L& lock;
    Condition& noReaders;
    Int32& readerCount;

    void AcquireRead(bool interruptible) const
    {
        const LockGuard guard(lock, interruptible);
        ++readerCount;
    }

    bool TryAcquireRead(UInt32 timeoutMs, bool interruptible, UInt32* remaining) const
    {
        if (!lock.TryAcquire(timeoutMs, interruptible, remaining)) {
            return false;
        }
        const LockGuard guard(lock, LockGuard::Adopt());
        ++readerCount;
        return true;
    }

    void ReleaseRead() const
    {
        const LockGuard guard(lock);
        if (--readerCount == 0) {
            noReaders.NotifyAll();
        }
    }

    void AcquireWrite(bool interruptible) const
    {
        lock.Acquire(interruptible);
        try {
            while (readerCount >= 1) {
                noReaders.Wait(interruptible);
            }
        } catch (...) {
            lock.Release();
            throw;
        }
    }

    bool TryAcquireWrite(UInt32 timeoutMs, bool interruptible, UInt32* remaining) const
    {
        const Impl::RemainingTime time(timeoutMs, remaining);
        UInt32 left = timeoutMs;
        // The clock is needed only when there was something to wait for.
        if (!lock.TryAcquire(UInt32{0}, interruptible, nullptr) &&
            (timeoutMs == 0 || !lock.TryAcquire(timeoutMs, interruptible, &left))) {
            return false;
        }
        bool acquired = false;
        try {
            if (readerCount >= 1) {
                noReaders.Wait(left, interruptible, nullptr);
            }
            acquired = readerCount < 1;
        } catch (...) {
            lock.Release();
            throw;
        }
        if (!acquired) {
            lock.Release();
        }
        return acquired;
    }
};

} // namespace

ReadWriteLock::ReadWriteLock() : noReaders_(lock_), readLock_(*this), writeLock_(*this) {}
ReadWriteLock::~ReadWriteLock() = default;
ReadWriteLock::ReadLock::~ReadLock() = default;
ReadWriteLock::WriteLock::~WriteLock() = default;

void ReadWriteLock::ReadLock::Acquire(bool interruptible)
{
    Parts<Lock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.AcquireRead(interruptible);
}

bool ReadWriteLock::ReadLock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    return Parts<Lock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.TryAcquireRead(
        timeoutMs, interruptible, remaining);
}

void ReadWriteLock::ReadLock::Release()
{
    Parts<Lock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.ReleaseRead();
}

void ReadWriteLock::WriteLock::Acquire(bool interruptible)
{
    Parts<Lock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.AcquireWrite(interruptible);
}

bool ReadWriteLock::WriteLock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    return Parts<Lock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.TryAcquireWrite(
        timeoutMs, interruptible, remaining);
}

void ReadWriteLock::WriteLock::Release()
{
    owner_->lock_.Release();
}

ReentrantReadWriteLock::ReentrantReadWriteLock() : noReaders_(lock_), readLock_(*this), writeLock_(*this) {}
ReentrantReadWriteLock::~ReentrantReadWriteLock() = default;
ReentrantReadWriteLock::ReadLock::~ReadLock() = default;
ReentrantReadWriteLock::WriteLock::~WriteLock() = default;

void ReentrantReadWriteLock::ReadLock::Acquire(bool interruptible)
{
    Parts<ReentrantLock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.AcquireRead(interruptible);
}

bool ReentrantReadWriteLock::ReadLock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    return Parts<ReentrantLock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.TryAcquireRead(
        timeoutMs, interruptible, remaining);
}

void ReentrantReadWriteLock::ReadLock::Release()
{
    Parts<ReentrantLock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.ReleaseRead();
}

void ReentrantReadWriteLock::WriteLock::Acquire(bool interruptible)
{
    Parts<ReentrantLock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.AcquireWrite(interruptible);
}

bool ReentrantReadWriteLock::WriteLock::TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    return Parts<ReentrantLock>{owner_->lock_, owner_->noReaders_, owner_->readerCount_}.TryAcquireWrite(
        timeoutMs, interruptible, remaining);
}

void ReentrantReadWriteLock::WriteLock::Release()
{
    owner_->lock_.Release();
}

} // namespace QV
