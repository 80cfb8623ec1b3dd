#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/CachedAllocatorImpl.hpp>

namespace QV::Impl {

constinit CachedAllocator uniStringCache(80, "disableUniStringAllocationCache");

void* CachedAllocator::AllocateUncached(UInt32 size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

void CachedAllocator::FreeUncached(void* block, UInt32 size) noexcept
{
    if (isConfigured_.load(std::memory_order_relaxed)) {
        MemoryManager::Free(block);
        return;
    }
    // Threads that meet here write the same.
    slots_.store(DBGetBool("QVRoot", disabledBy_, false) ? 0 : AllSlots, std::memory_order_relaxed);
    isConfigured_.store(true, std::memory_order_relaxed);
    Free(block, size);
}

} // namespace QV::Impl
