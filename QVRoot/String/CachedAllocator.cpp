#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/CachedAllocatorImpl.hpp>

#include <SingleThreadedImpl.hpp>

namespace QV::Impl {

bool CachedAllocator::TryEnter() noexcept
{
    if (access_.load(std::memory_order_relaxed) != 1) {
        return false;
    }
    if (IsProcessSingleThreaded()) {
        access_.store(0, std::memory_order_relaxed);
        return true;
    }
    UInt32 expected = 1;
    return access_.compare_exchange_strong(expected, 0, std::memory_order_acquire, std::memory_order_relaxed);
}

void CachedAllocator::Leave() noexcept
{
    access_.store(1, std::memory_order_release);
}

void* CachedAllocator::TakeCached(UInt32 size, UInt32* actualSize) noexcept
{
    void* block = nullptr;
    for (Slot* slot = slots_; slot != slots_ + slotCount_; ++slot) {
        if (slot->block != nullptr && slot->size >= size) {
            block = slot->block;
            *actualSize = slot->size;
            slot->block = nullptr;
            occupied_.store(occupied_.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
            break;
        }
    }
    return block;
}

bool CachedAllocator::StoreCached(void* block, UInt32 size) noexcept
{
    for (Slot* slot = slots_; slot != slots_ + slotCount_; ++slot) {
        if (slot->block == nullptr) {
            slot->block = block;
            slot->size = size;
            occupied_.store(occupied_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
            return true;
        }
    }
    return false;
}

void* CachedAllocator::Allocate(UInt32 size, UInt32* actualSize)
{
    if (size <= largestSize_ && occupied_.load(std::memory_order_relaxed) != 0 && TryEnter()) {
        void* const block = TakeCached(size, actualSize);
        Leave();
        if (block != nullptr) {
            return block;
        }
    }
    *actualSize = size;
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

void CachedAllocator::Free(void* block, UInt32 size) noexcept
{
    if (block == nullptr) {
        return;
    }
    if (size <= largestSize_ && occupied_.load(std::memory_order_relaxed) != slotCount_ && TryEnter()) {
        const bool stored = StoreCached(block, size);
        Leave();
        if (stored) {
            return;
        }
    }
    MemoryManager::Free(block);
}

namespace {

constexpr UInt32 slotCount = 10;
constexpr UInt32 largestSize = 80;

constinit CachedAllocator::Slot uniStringSlots[slotCount] = {};
constinit CachedAllocator uniStringCache(uniStringSlots, slotCount, largestSize);
constinit CachedAllocator noCache(nullptr, 0, 0);

} // namespace

CachedAllocator& GetUniStringCache() noexcept
{
    // Neither is ever destroyed: static objects still free their strings when the process ends.
    static CachedAllocator& cache =
        DBGetBool("QVRoot", "disableUniStringAllocationCache", false) ? noCache : uniStringCache;
    return cache;
}

} // namespace QV::Impl
