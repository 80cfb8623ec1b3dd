#include "Worker.hpp"

#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/ReadWriteLock.hpp>

using namespace QV;
using namespace QV::Test;

template <class L>
class ReadWriteLockTest : public testing::Test {
protected:
    bool CanRead()
    {
        bool acquired = false;
        Worker([&] {
            acquired = read_.TryAcquire(UInt32{0}, true);
            if (acquired) {
                read_.Release();
            }
        });
        return acquired;
    }
    bool CanWrite()
    {
        bool acquired = false;
        Worker([&] {
            acquired = write_.TryAcquire(UInt32{0}, true);
            if (acquired) {
                write_.Release();
            }
        });
        return acquired;
    }

    L lock_;
    Lockable& read_ = lock_.GetReadLock();
    Lockable& write_ = lock_.GetWriteLock();
};

using ReadWriteLocks = testing::Types<ReadWriteLock, ReentrantReadWriteLock>;
TYPED_TEST_SUITE(ReadWriteLockTest, ReadWriteLocks);

TYPED_TEST(ReadWriteLockTest, ManyReadOrOneWrites)
{
    {
        const LockGuard first(this->read_);
        EXPECT_TRUE(this->CanRead());
        EXPECT_FALSE(this->CanWrite());
    }
    {
        const LockGuard writer(this->write_);
        EXPECT_FALSE(this->CanRead());
        EXPECT_FALSE(this->CanWrite());
    }
    EXPECT_TRUE(this->CanWrite());
}

TYPED_TEST(ReadWriteLockTest, ReadersOvertakeAWaitingWriter)
{
    this->read_.Acquire(true);
    Worker writer([&] { const LockGuard guard(this->write_, true); });
    Settle();
    EXPECT_TRUE(this->CanRead());
    EXPECT_FALSE(writer.IsDone());
    this->read_.Release();
    EXPECT_EQ(writer.GetOutcome(), "");
}

TYPED_TEST(ReadWriteLockTest, AWriterThatGivesUpLeavesTheLockFree)
{
    this->read_.Acquire(true);
    Worker interrupted([&] { this->write_.Acquire(true); });
    Worker late([&] {
        UInt32 remaining = 1;
        EXPECT_FALSE(this->write_.TryAcquire(20, true, &remaining));
        EXPECT_EQ(remaining, 0u);
    });
    Worker patient([&] {
        EXPECT_TRUE(this->write_.TryAcquire(Long, true));
        this->write_.Release();
    });
    EXPECT_EQ(late.GetOutcome(), "");
    interrupted.Interrupt();
    EXPECT_EQ(interrupted.GetOutcome(),
              "InterruptedException: Thread interrupted while waiting for condition.");
    EXPECT_TRUE(this->CanRead());
    this->read_.Release();
    EXPECT_EQ(patient.GetOutcome(), "");
    EXPECT_TRUE(this->CanWrite());
}

TEST(ReadWriteLockNestingTest, OnlyTheReentrantWriterMayNest)
{
    ReadWriteLock plain;
    const LockGuard writer(plain.GetWriteLock());
    EXPECT_EQ(GetOutcome([&] { plain.GetWriteLock().Acquire(true); }).substr(0, 17), "DeadlockException");
    EXPECT_EQ(GetOutcome([&] { plain.GetReadLock().Acquire(true); }).substr(0, 17), "DeadlockException");
    ReentrantReadWriteLock reentrant;
    const LockGuard outer(reentrant.GetWriteLock());
    const LockGuard inner(reentrant.GetWriteLock());
    const LockGuard reader(reentrant.GetReadLock());
}
