/// Many readers or one writer.
///
///     const LockGuard guard(lock.GetReadLock());
///
/// Readers are preferred: they still get in while a writer waits for other readers to leave, so a writer can
/// starve. A writer holds the inner lock for as long as it writes; a reader only to come and go. When nobody
/// is in its way, a reader comes with one compare-and-swap, and goes with another.
///
/// Threads: any. Errors: those of the inner `Lock`; a writer that acquires again, or reads, gets a
/// `DeadlockException`. Allocation: two blocks when it is made.
#pragma once

#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>

namespace QV {

namespace Impl {

/// A read-write lock over a lock of class `L`, which also counts the readers.
template <class L>
class ReadWriteLockOver {
public:
    ReadWriteLockOver(const ReadWriteLockOver&) = delete;
    ReadWriteLockOver& operator=(const ReadWriteLockOver&) = delete;

    /// To be acquired for reading, by any number of threads at a time.
    Lockable& GetReadLock() noexcept { return readLock_; }
    /// To be acquired for writing, by one thread while nobody reads.
    Lockable& GetWriteLock() noexcept { return writeLock_; }

protected:
    ReadWriteLockOver();
    ~ReadWriteLockOver();

private:
    class ReadLock final : public Lockable {
    public:
        explicit ReadLock(ReadWriteLockOver& owner) noexcept : owner_(&owner) {}

        using Lockable::TryAcquire;

        void Acquire(bool interruptible) override;
        bool TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining) override;
        void Release() override;

    private:
        ReadWriteLockOver* owner_;
    };

    class WriteLock final : public Lockable {
    public:
        explicit WriteLock(ReadWriteLockOver& owner) noexcept : owner_(&owner) {}

        using Lockable::TryAcquire;

        void Acquire(bool interruptible) override;
        bool TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining) override;
        void Release() override;

    private:
        ReadWriteLockOver* owner_;
    };

    L lock_;
    Condition noReaders_;
    ReadLock readLock_;
    WriteLock writeLock_;
};

} // namespace Impl

class QV_EXPORT ReadWriteLock : public Impl::ReadWriteLockOver<Lock> {
public:
    ReadWriteLock();
    ~ReadWriteLock();
};

/// The same over a `ReentrantLock`: a writer may acquire again, and read. A reader that wants to write as
/// well waits for itself.
class QV_EXPORT ReentrantReadWriteLock : public Impl::ReadWriteLockOver<ReentrantLock> {
public:
    ReentrantReadWriteLock();
    ~ReentrantReadWriteLock();
};

} // namespace QV
