/// The pointer to a thread's cache of the pooled heap, read with every allocation.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <intrin.h>

#include <atomic>

namespace QV::Impl {

/// Held in a slot of the operating system, which serves until the thread's very end. A slot among the first
/// 64 lies in the thread's environment block and is read from there: one load, and the thread's last error
/// stays as it is.
struct ThreadCachePointer {
    /// To be called before the first `Set`; false when the system has no slot left.
    static bool Prepare() noexcept;

    /// Null at first.
    static void* Get() noexcept
    {
        const UInt32 offset = offset_.load(std::memory_order_acquire);
        if (offset > Outside) [[likely]] {
            return reinterpret_cast<void*>(__readgsqword(offset));
        }
        return offset == NotPrepared ? nullptr : GetOutside();
    }
    static void Set(void* cache) noexcept;

private:
    /// What `offset_` says when it is not an offset into the environment block.
    enum : UInt32 { NotPrepared, Outside };

    static void* GetOutside() noexcept;

    static std::atomic<UInt32> offset_;
    static std::atomic<UInt32> index_;
};

} // namespace QV::Impl
