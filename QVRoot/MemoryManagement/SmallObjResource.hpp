/// A pool of small objects as a `std::pmr::memory_resource`.
///
///     SmallObjAllocator pool(128, false, false);
///     SmallObjResource resource(pool);
///     std::pmr::list<int> numbers(&resource);
///
/// Where the resource's class is known, calls are direct. What is to be aligned to more than 8 bytes comes
/// from the memory manager.
///
/// Threads: as the pool's. Errors: `OutOfMemoryException`, which is a `std::bad_alloc`.
#pragma once

#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

#include <cstddef>
#include <memory_resource>

namespace QV {

class SmallObjResource final : public std::pmr::memory_resource {
public:
    SmallObjResource() noexcept : pool_(threadSafeGlobalObjPool) {}
    /// The pool must outlive every block.
    explicit SmallObjResource(SmallObjAllocator& pool) noexcept : pool_(pool) {}

    SmallObjAllocator& GetPool() const noexcept { return pool_; }

private:
    static constexpr std::size_t PoolAlignment = 8;

    void* do_allocate(std::size_t size, std::size_t alignment) override
    {
        return alignment <= PoolAlignment
                   ? pool_.Allocate(size)
                   : MemoryManager::AlignedAllocate(size, alignment, MemoryManager::ThrowOnFailure, true);
    }

    void do_deallocate(void* block, std::size_t, std::size_t alignment) override
    {
        if (alignment <= PoolAlignment) {
            SmallObjAllocator::Deallocate(block);
        } else {
            MemoryManager::AlignedFree(block);
        }
    }

    bool do_is_equal(const memory_resource& other) const noexcept override
    {
        const auto* const resource = dynamic_cast<const SmallObjResource*>(&other);
        return resource != nullptr && &resource->pool_ == &pool_;
    }

    SmallObjAllocator& pool_;
};

} // namespace QV
