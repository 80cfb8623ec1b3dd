/// Locks that never sleep: they give the processor away between attempts. For sections of a few instructions.
///
/// Neither fair nor interruptible. Time-outs are ignored: `TryAcquire` makes one attempt and hands the full
/// time back in `remaining`. Nobody checks who releases.
///
/// Threads: any. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/Threading/Atomic.hpp>
#include <QVRoot/Threading/Lockable.hpp>

namespace QV {

class QV_EXPORT SpinLock final : public Lockable {
public:
    constexpr SpinLock() noexcept = default;
    ~SpinLock() override;

    using Lockable::TryAcquire;

    void Acquire(bool interruptible = false) override;
    bool TryAcquire(UInt32 timeoutMs, bool interruptible = false, UInt32* remaining = nullptr) override;
    /// By another thread, this silently frees the lock.
    void Release() override;

    /// Holds a lock for the length of a scope, and costs no call as long as nobody else wants it.
    class Guard {
    public:
        explicit Guard(SpinLock& lock) : lock_(lock)
        {
            if (!AtomicCompareAndSwap(&lock_.flag_, 0, 1)) [[unlikely]] {
                lock_.Acquire();
            }
        }
        ~Guard() { AtomicStore(&lock_.flag_, 0); }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        SpinLock& lock_;
    };

private:
    Int32 flag_ = 0;
};

/// The same for an owner that may acquire it again. Releasing takes one level away, whoever does it.
class QV_EXPORT ReentrantSpinLock final : public Lockable {
public:
    constexpr ReentrantSpinLock() noexcept = default;
    ~ReentrantSpinLock() override;

    using Lockable::TryAcquire;

    void Acquire(bool interruptible = false) override;
    bool TryAcquire(UInt32 timeoutMs, bool interruptible = false, UInt32* remaining = nullptr) override;
    void Release() override;

private:
    bool TryAcquireOnce(Int64 me) noexcept;

    Int32 flag_ = 0;
    UInt32 holdCount_ = 0;
    Int64 ownerThreadId_ = 0;
};

static_assert(sizeof(SpinLock) == sizeof(void*) + 8);
static_assert(sizeof(ReentrantSpinLock) == sizeof(void*) + 16);

} // namespace QV
