/// A `Lock` that its owner may acquire again; it is free when it has been released as often.
///
/// Threads, allocation and destruction as for `Lock`. Errors: `SynchronizationException` when another thread
/// than the owner releases; `InterruptedException` from an interruptible wait. Acquiring again is never a
/// deadlock.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>

namespace QV {

namespace Impl {
class HandOverLock;
}

class QV_EXPORT ReentrantLock final : public Lockable {
public:
    ReentrantLock();
    ~ReentrantLock() override;

    void Acquire(bool interruptible = false) override;
    bool TryAcquire(UInt32 timeoutMs, bool interruptible = false, UInt32* remaining = nullptr) override;
    bool TryAcquire(const Timeout& timeout, bool interruptible = false, UInt32* remaining = nullptr) override;
    void Release() override;

private:
    friend class Impl::HandOverLock;

    Impl::HandOverLock* impl_;
};

} // namespace QV
