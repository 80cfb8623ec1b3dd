#include <QVRoot/MemoryManagement/Core/MemoryManagerResource.hpp>

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <new>

namespace QV {

namespace {

constexpr std::size_t UsualAlignment = 16;

} // namespace

MemoryManagerResource::~MemoryManagerResource() = default;

MemoryManagerResource* MemoryManagerResource::Get() noexcept
{
    // Never destroyed: containers may use it until the process is gone.
    alignas(MemoryManagerResource) static char storage[sizeof(MemoryManagerResource)];
    static MemoryManagerResource* const resource = new (storage) MemoryManagerResource;
    return resource;
}

void* MemoryManagerResource::do_allocate(std::size_t size, std::size_t alignment)
{
    return alignment <= UsualAlignment
               ? MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true)
               : MemoryManager::AlignedAllocate(size, alignment, MemoryManager::ThrowOnFailure, true);
}

void MemoryManagerResource::do_deallocate(void* block, std::size_t, std::size_t alignment)
{
    if (alignment <= UsualAlignment) {
        MemoryManager::Free(block);
    } else {
        MemoryManager::AlignedFree(block);
    }
}

bool MemoryManagerResource::do_is_equal(const memory_resource& other) const noexcept
{
    return dynamic_cast<const MemoryManagerResource*>(&other) != nullptr;
}

} // namespace QV
