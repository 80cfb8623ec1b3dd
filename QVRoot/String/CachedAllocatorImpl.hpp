/// A handful of recently freed blocks in front of the memory manager.
///
/// The cache never blocks: a thread that finds it taken goes to the memory manager.
///
/// Threads: any. Errors: `OutOfMemoryException` from `Allocate`. Sizes are bytes.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>

namespace QV::Impl {

class CachedAllocator {
public:
    struct Slot {
        void* block = nullptr;
        UInt32 size = 0;
        UInt32 unused = 0;
    };

    /// A cache over slots that live as long as it does. Blocks above `largestSize` pass it by.
    constexpr CachedAllocator(Slot* slots, UInt32 slotCount, UInt32 largestSize) noexcept
        : slots_(slots), slotCount_(slotCount), largestSize_(largestSize)
    {
    }
    CachedAllocator(const CachedAllocator&) = delete;
    CachedAllocator& operator=(const CachedAllocator&) = delete;

    /// A block of at least `size` bytes, and the size it really has: a cached block may be larger.
    void* Allocate(UInt32 size, UInt32* actualSize);

    /// Takes a block of the given size back; null does nothing.
    void Free(void* block, UInt32 size) noexcept;

private:
    bool TryEnter() noexcept;
    void Leave() noexcept;
    void* TakeCached(UInt32 size, UInt32* actualSize) noexcept;
    bool StoreCached(void* block, UInt32 size) noexcept;

    Slot* slots_;
    UInt32 slotCount_;
    std::atomic<UInt32> occupied_ = 0;
    UInt32 largestSize_;
    std::atomic<UInt32> access_ = 1; ///< 1 while nobody is inside
};

/// The cache of `UniString` buffers: 10 slots for blocks up to 80 bytes, none under the debug value
/// "disableUniStringAllocationCache" of "QVRoot".
CachedAllocator& GetUniStringCache() noexcept;

} // namespace QV::Impl
