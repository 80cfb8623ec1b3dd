#include <QVRoot/Threading/SingletonLock.hpp>

#include <QVRoot/Threading/FastLockImpl.hpp>
#include <QVRoot/Threading/ParkImpl.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

namespace QV {

namespace {

class FastSingletonLock final : public Lockable {
public:
    constexpr FastSingletonLock() noexcept = default;

    using Lockable::TryAcquire;

    void Acquire(bool) override { lock_.Enter(); }
    bool TryAcquire(UInt32 timeoutMs, bool, UInt32* remaining) override
    {
        const Impl::RemainingTime time(timeoutMs, remaining);
        if (lock_.TryEnter()) {
            return true;
        }
        return timeoutMs != 0 && TryUntil(Impl::Deadline::After(timeoutMs));
    }
    void Release() override { lock_.Leave(); }

private:
    bool TryUntil(Impl::Deadline deadline)
    {
        for (UInt32 round = 0; !lock_.TryEnter(); ++round) {
            if (Impl::GetMonotonicNanos() >= deadline.nanos) {
                return false;
            }
            Impl::YieldWhileSpinning(round);
        }
        return true;
    }

    Impl::FastLock lock_;
};

/// Keeps the lock from being destroyed.
union Immortal {
    constexpr Immortal() noexcept : lock() {}
    ~Immortal() {}

    FastSingletonLock lock;
};

constinit Immortal singletonLock;

} // namespace

Lockable& SingletonLock::GetLock() noexcept
{
    return singletonLock.lock;
}

} // namespace QV
