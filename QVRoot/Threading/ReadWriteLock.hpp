/// Many readers or one writer.
///
///     const LockGuard guard(lock.GetReadLock());
///
/// Readers are preferred: they still get in while a writer waits for other readers to leave, so a writer can
/// starve. A writer holds the inner lock for as long as it writes; a reader only to come and go.
///
/// Threads: any. Errors: those of the inner `Lock`; a writer that acquires again, or reads, gets a
/// `DeadlockException`. Allocation: two blocks when it is made.
#pragma once

#include <QVRoot/Threading/Condition.hpp>
#include <QVRoot/Threading/Lock.hpp>
#include <QVRoot/Threading/ReentrantLock.hpp>

namespace QV {

class QV_EXPORT ReadWriteLock {
public:
    ReadWriteLock();
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;
    ~ReadWriteLock();

    Lockable& GetReadLock() noexcept { return readLock_; }
    Lockable& GetWriteLock() noexcept { return writeLock_; }

private:
    class QV_EXPORT ReadLock final : public Lockable {
    public:
        explicit ReadLock(ReadWriteLock& owner) noexcept : owner_(&owner) {}
        ~ReadLock() override;

        using Lockable::TryAcquire;

        void Acquire(bool interruptible = false) override;
        bool TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining) override;
        void Release() override;

    private:
        ReadWriteLock* owner_;
    };

    class QV_EXPORT WriteLock final : public Lockable {
    public:
        explicit WriteLock(ReadWriteLock& owner) noexcept : owner_(&owner) {}
        ~WriteLock() override;

        using Lockable::TryAcquire;

        void Acquire(bool interruptible = false) override;
        bool TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining) override;
        void Release() override;

    private:
        ReadWriteLock* owner_;
    };

    Lock lock_;
    Condition noReaders_;
    Int32 readerCount_ = 0;
    ReadLock readLock_;
    WriteLock writeLock_;
};

/// The same over a `ReentrantLock`: a writer may acquire again, and read. A reader that wants to write as
/// well waits for itself.
class QV_EXPORT ReentrantReadWriteLock {
public:
    ReentrantReadWriteLock();
    ReentrantReadWriteLock(const ReentrantReadWriteLock&) = delete;
    ReentrantReadWriteLock& operator=(const ReentrantReadWriteLock&) = delete;
    ~ReentrantReadWriteLock();

    Lockable& GetReadLock() noexcept { return readLock_; }
    Lockable& GetWriteLock() noexcept { return writeLock_; }

private:
    class QV_EXPORT ReadLock final : public Lockable {
    public:
        explicit ReadLock(ReentrantReadWriteLock& owner) noexcept : owner_(&owner) {}
        ~ReadLock() override;

        using Lockable::TryAcquire;

        void Acquire(bool interruptible = false) override;
        bool TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining) override;
        void Release() override;

    private:
        ReentrantReadWriteLock* owner_;
    };

    class QV_EXPORT WriteLock final : public Lockable {
    public:
        explicit WriteLock(ReentrantReadWriteLock& owner) noexcept : owner_(&owner) {}
        ~WriteLock() override;

        using Lockable::TryAcquire;

        void Acquire(bool interruptible = false) override;
        bool TryAcquire(UInt32 timeoutMs, bool interruptible, UInt32* remaining) override;
        void Release() override;

    private:
        ReentrantReadWriteLock* owner_;
    };

    ReentrantLock lock_;
    Condition noReaders_;
    Int32 readerCount_ = 0;
    ReadLock readLock_;
    WriteLock writeLock_;
};

} // namespace QV
