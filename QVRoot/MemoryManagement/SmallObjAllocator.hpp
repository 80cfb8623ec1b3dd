/// Small objects of any size: a `FixedAllocator` for each byte count up to a maximum, the memory manager for
/// what is larger.
///
///     SmallObjAllocator pool(256, false, false);
///     void* const block = pool.Allocate(40);
///     SmallObjAllocator::Deallocate(block);
///
/// Under a debugging memory manager (`MemoryManager::IsDebugAllocationEnabled` when the pool is made), the
/// maximum is 0, so that the debugger sees every object. Blocks are aligned to 8 bytes.
///
/// Threads: a plain pool belongs to one at a time, as a `FixedAllocator` does; a thread-safe one may be used
/// by any, and each of its sizes has a lock of its own. Errors: `OutOfMemoryException`. Sizes are bytes.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/MemoryManagement/ThreadSafeFixedAllocator.hpp>
#include <QVRoot/Threading/Atomic.hpp>

namespace QV {

namespace Impl {
struct LastingObjPool;
}

class QV_EXPORT SmallObjAllocator : public NonThreadSafeClass {
public:
    /// `releaseEmptyPages` as for `FixedAllocator`. Makes an allocator of some 100 bytes for every size.
    SmallObjAllocator(USize maximumObjectSize, bool releaseEmptyPages, bool isThreadSafe);
    /// Blocks still in use keep their pages, which are then lost.
    ~SmallObjAllocator();
    SmallObjAllocator(const SmallObjAllocator&) = delete;
    SmallObjAllocator& operator=(const SmallObjAllocator&) = delete;

    /// Size 0 gives a block of its own as well, from the memory manager.
    void* Allocate(USize size);

    /// Takes a block of any pool back into the one that it came from; null is ignored. Whether the block is
    /// one, and not free already, is not tested.
    static void Deallocate(void* block);

    /// Gives the empty pages back to the memory manager. Does nothing when empty pages are released anyway:
    /// the one page that each size then keeps stays.
    void Purge();

    /// The bytes that are handed out, without large blocks. Counts modulo 2^32; approximate where threads use
    /// several sizes at once.
    UInt32 GetSize() const noexcept { return std::atomic_ref(size_).load(std::memory_order_relaxed); }

    /// Leaves the pool to the thread that uses it next.
    void LeaveThread() noexcept;

private:
    friend class FixedAllocator;
    friend class ThreadSafeFixedAllocator;
    friend struct Impl::LastingObjPool;

    using Header = FixedAllocator::Header;
    using Page = FixedAllocator::Page;

    /// A thread-safe pool that releases empty pages and makes its allocators when it is first used.
    constexpr SmallObjAllocator() noexcept : releaseEmptyPages_(true), isThreadSafe_(true), isBuilt_(false) {}

    void Build(USize maximumObjectSize);
    FixedAllocator** MakeAllocators(USize count);
    static void DestroyAllocators(FixedAllocator** allocators, USize count) noexcept;
    void* AllocateOtherwise(USize size);
    USize GetMaximum() const noexcept
    {
        return std::atomic_ref(maximumObjectSize_).load(std::memory_order_acquire);
    }

    /// Never a locked instruction: under the lock of one size at most, the sum need not be exact.
    void AddBytes(USize bytes) noexcept
    {
        std::atomic_ref(size_).store(GetSize() + static_cast<UInt32>(bytes), std::memory_order_relaxed);
    }

    FixedAllocator** allocators_ = nullptr; ///< by size; the first place is empty
    mutable USize maximumObjectSize_ = 0;
    bool releaseEmptyPages_;
    bool isThreadSafe_;
    bool isBuilt_;
    mutable UInt32 size_ = 0;
};

static_assert(sizeof(SmallObjAllocator) == 40);

/// The pool of the process: thread-safe, for sizes up to 512 bytes, keeps one empty page of a size. May be
/// used before `main` and until the process is gone.
QV_EXPORT extern SmallObjAllocator& threadSafeGlobalObjPool;

inline void* SmallObjAllocator::Allocate(USize size)
{
    if (size - 1 >= GetMaximum()) [[unlikely]] {
        return AllocateOtherwise(size);
    }
    FixedAllocator& allocator = *allocators_[size];
    if (isThreadSafe_) {
        return allocator.AllocateAndIncreaseSize();
    }
    CheckThread();
    allocator.CheckThread();
    void* const block = allocator.TakeBlock();
    size_ += static_cast<UInt32>(size);
    return block;
}

inline void SmallObjAllocator::Deallocate(void* block)
{
    if (block == nullptr) [[unlikely]] {
        return;
    }
    Header* const header = FixedAllocator::GetHeader(block);
    Page* const page = header->page;
    if (page == nullptr) [[unlikely]] {
        MemoryManager::Free(header);
        return;
    }
    FixedAllocator& allocator = *page->owner;
    if (allocator.isCheckOff_) {
        allocator.DeallocateAndDecreaseSize(page, block);
        return;
    }
    allocator.CheckThread();
    if (SmallObjAllocator* const pool = allocator.owner_) [[likely]] {
        pool->CheckThread();
        pool->size_ -= static_cast<UInt32>(allocator.objectSize_);
    }
    allocator.ReturnBlock(page, header);
}

} // namespace QV
