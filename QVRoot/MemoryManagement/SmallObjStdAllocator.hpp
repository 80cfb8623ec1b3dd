/// A pool of small objects as the standard library's containers want their memory.
///
///     std::list<int, SmallObjStdAllocator<int>> shared; // in the pool of the process
///     SmallObjAllocator pool(128, false, false);
///     std::map<int, int, std::less<>, SmallObjStdAllocator<std::pair<const int, int>>> own(pool);
///
/// Serves containers of nodes best: `std::list`, `std::map`, `std::unordered_map`. The allocator is a pointer
/// and moves along with its container. Types aligned to more than 8 bytes come from the memory manager.
///
/// Threads: as the pool's. Errors: `OutOfMemoryException`, which is a `std::bad_alloc`.
#pragma once

#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

#include <cstddef>
#include <new>
#include <type_traits>

namespace QV {

template <class T>
class SmallObjStdAllocator {
public:
    using value_type = T;
    using propagate_on_container_copy_assignment = std::true_type;
    using propagate_on_container_move_assignment = std::true_type;
    using propagate_on_container_swap = std::true_type;

    SmallObjStdAllocator() noexcept : pool_(&threadSafeGlobalObjPool) {}
    /// The pool must outlive every block.
    SmallObjStdAllocator(SmallObjAllocator& pool) noexcept : pool_(&pool) {}
    template <class U>
    SmallObjStdAllocator(const SmallObjStdAllocator<U>& other) noexcept : pool_(&other.GetPool())
    {
    }

    SmallObjAllocator& GetPool() const noexcept { return *pool_; }

    /// Throws `std::bad_array_new_length` for more than fits into the address space.
    [[nodiscard]] T* allocate(std::size_t count)
    {
        if (count > static_cast<std::size_t>(-1) / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        if constexpr (alignof(T) <= PoolAlignment) {
            return static_cast<T*>(pool_->Allocate(count * sizeof(T)));
        } else {
            return static_cast<T*>(MemoryManager::AlignedAllocate(count * sizeof(T), alignof(T),
                                                                  MemoryManager::ThrowOnFailure, true));
        }
    }

    void deallocate(T* block, std::size_t) noexcept
    {
        if constexpr (alignof(T) <= PoolAlignment) {
            SmallObjAllocator::Deallocate(block);
        } else {
            MemoryManager::AlignedFree(block);
        }
    }

    friend bool operator==(const SmallObjStdAllocator& a, const SmallObjStdAllocator& b) noexcept
    {
        return a.pool_ == b.pool_;
    }

private:
    static constexpr std::size_t PoolAlignment = 8;

    SmallObjAllocator* pool_;
};

} // namespace QV
