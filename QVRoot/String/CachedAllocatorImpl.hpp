/// A handful of recently freed blocks in front of the memory manager.
///
/// The cache never blocks: a thread that finds it taken goes to the memory manager.
///
/// Threads: any. Errors: `OutOfMemoryException` from `Allocate`. Sizes are bytes.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <SingleThreadedImpl.hpp>

#include <atomic>
#include <bit>

namespace QV::Impl {

class CachedAllocator {
public:
    /// Blocks above `largestSize` pass the cache by. It stays empty under the debug value `disabledBy` of
    /// "QVRoot", which is read when the first block is freed.
    constexpr CachedAllocator(UInt32 largestSize, const char* disabledBy) noexcept
        : largestSize_(largestSize), disabledBy_(disabledBy)
    {
    }
    CachedAllocator(const CachedAllocator&) = delete;
    CachedAllocator& operator=(const CachedAllocator&) = delete;

    /// A block of at least `size` bytes, and the size it really has: a cached block may be larger.
    void* Allocate(UInt32 size, UInt32* actualSize)
    {
        if (size <= largestSize_ && occupied_.load(std::memory_order_relaxed) != 0 && TryEnter()) {
            void* const block = Take(size, actualSize);
            Leave();
            if (block != nullptr) [[likely]] {
                return block;
            }
        }
        *actualSize = size;
        return AllocateUncached(size);
    }

    /// Takes a block of the given size back; null does nothing.
    void Free(void* block, UInt32 size) noexcept
    {
        if (size <= largestSize_ && block != nullptr &&
            occupied_.load(std::memory_order_relaxed) != slots_.load(std::memory_order_relaxed) &&
            TryEnter()) {
            const bool stored = Store(block, size);
            Leave();
            if (stored) [[likely]] {
                return;
            }
        }
        FreeUncached(block, size);
    }

private:
    static constexpr UInt32 SlotCount = 10;
    static constexpr UInt32 AllSlots = (1u << SlotCount) - 1;

    struct Slot {
        void* block = nullptr;
        UInt32 size = 0;
        UInt32 unused = 0;
    };

    bool TryEnter() noexcept
    {
        if (access_.load(std::memory_order_relaxed) != 1) {
            return false;
        }
        if (IsProcessSingleThreaded()) {
            return true; // nobody to keep out, and nothing inside calls out
        }
        UInt32 expected = 1;
        return access_.compare_exchange_strong(expected, 0, std::memory_order_acquire,
                                               std::memory_order_relaxed);
    }
    void Leave() noexcept { access_.store(1, std::memory_order_release); }

    /// The first slot whose block is large enough.
    void* Take(UInt32 size, UInt32* actualSize) noexcept
    {
        const UInt32 occupied = occupied_.load(std::memory_order_relaxed);
        for (UInt32 rest = occupied; rest != 0; rest &= rest - 1) {
            const Slot& slot = slot_[std::countr_zero(rest)];
            if (slot.size >= size) [[likely]] {
                *actualSize = slot.size;
                occupied_.store(occupied & ~(rest & (0 - rest)), std::memory_order_relaxed);
                return slot.block;
            }
        }
        return nullptr;
    }

    /// Into the first empty slot.
    bool Store(void* block, UInt32 size) noexcept
    {
        const UInt32 occupied = occupied_.load(std::memory_order_relaxed);
        const UInt32 empty = slots_.load(std::memory_order_relaxed) & ~occupied;
        if (empty == 0) {
            return false; // another thread was faster
        }
        slot_[std::countr_zero(empty)] = {block, size, 0};
        occupied_.store(occupied | (empty & (0 - empty)), std::memory_order_relaxed);
        return true;
    }

    void* AllocateUncached(UInt32 size);
    void FreeUncached(void* block, UInt32 size) noexcept;

    std::atomic<UInt32> access_ = 1;   ///< 1 while nobody is inside
    std::atomic<UInt32> occupied_ = 0; ///< a bit for each slot with a block
    std::atomic<UInt32> slots_ = 0;    ///< a bit for each slot that may be used: none before the first `Free`
    UInt32 largestSize_;
    const char* disabledBy_;
    std::atomic<bool> isConfigured_ = false;
    Slot slot_[SlotCount];
};

/// The cache of `UniString` buffers, for blocks up to 80 bytes; none under "disableUniStringAllocationCache".
/// Never destroyed: static objects still free their strings when the process ends.
extern constinit CachedAllocator uniStringCache;

} // namespace QV::Impl
