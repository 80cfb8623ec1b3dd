#include <QVRoot/MemoryManagement/ThreadSafeFixedAllocator.hpp>

#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

namespace QV {

ThreadSafeFixedAllocator::ThreadSafeFixedAllocator(USize objectSize, bool releaseEmptyPages,
                                                   AllocationPolicy policy)
    : FixedAllocator(objectSize, releaseEmptyPages, true, nullptr)
{
    policy_ = policy;
}

ThreadSafeFixedAllocator::ThreadSafeFixedAllocator(USize objectSize, bool releaseEmptyPages,
                                                   SmallObjAllocator* owner)
    : FixedAllocator(objectSize, releaseEmptyPages, true, owner)
{
}

ThreadSafeFixedAllocator::~ThreadSafeFixedAllocator() = default;

inline void* ThreadSafeFixedAllocator::TakeAndCount(Page* page) noexcept
{
    if (owner_ != nullptr) {
        owner_->AddBytes(objectSize_);
    }
    return TakeBlockFrom(page);
}

void* ThreadSafeFixedAllocator::AllocateAndIncreaseSize()
{
    USize count = 0;
    {
        const SpinLock::Guard guard(lock_);
        Page* page = firstPage_;
        if (page == nullptr || page->freeBlocks == nullptr) [[unlikely]] {
            page = FindPage();
        }
        if (page != nullptr) [[likely]] {
            return TakeAndCount(page);
        }
        count = GetBlocksOfNewPage();
    }
    return AllocateFromNewPage(count);
}

/// The page is made without the lock: the memory manager may take its time, and what it calls when memory is
/// short may come back here.
void* ThreadSafeFixedAllocator::AllocateFromNewPage(USize count)
{
    Page* const page = CreatePage(count);
    const SpinLock::Guard guard(lock_);
    AddPage(page);
    return TakeAndCount(page);
}

void ThreadSafeFixedAllocator::DeallocateAndDecreaseSize(Page* page, void* block)
{
    const SpinLock::Guard guard(lock_);
    if (owner_ != nullptr) {
        owner_->AddBytes(0 - objectSize_);
    }
    ReturnBlock(page, GetHeader(block));
}

void ThreadSafeFixedAllocator::Purge()
{
    const SpinLock::Guard guard(lock_);
    FixedAllocator::Purge();
}

} // namespace QV
