#include <QVRoot/MemoryManagement/ThreadSafeFixedAllocator.hpp>

#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

namespace QV {

namespace {

/// The lock's class is known here, so that nothing goes through virtual calls.
class SpinLockGuard {
public:
    explicit SpinLockGuard(SpinLock& lock) : lock_(lock) { lock_.Acquire(); }
    ~SpinLockGuard() { lock_.Release(); }
    SpinLockGuard(const SpinLockGuard&) = delete;
    SpinLockGuard& operator=(const SpinLockGuard&) = delete;

private:
    SpinLock& lock_;
};

} // namespace

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
    {
        const SpinLockGuard guard(lock_);
        Page* page = firstPage_;
        if (page == nullptr || page->freeBlocks == nullptr) [[unlikely]] {
            page = FindPage();
        }
        if (page != nullptr) [[likely]] {
            return TakeAndCount(page);
        }
    }
    return AllocateFromNewPage();
}

/// The page is made without the lock: the memory manager may take its time, and what it calls when memory is
/// short may come back here.
void* ThreadSafeFixedAllocator::AllocateFromNewPage()
{
    Page* const page = CreatePage();
    const SpinLockGuard guard(lock_);
    AddPage(page);
    return TakeAndCount(page);
}

void ThreadSafeFixedAllocator::DeallocateAndDecreaseSize(Page* page, void* block)
{
    const SpinLockGuard guard(lock_);
    if (owner_ != nullptr) {
        owner_->AddBytes(0 - objectSize_);
    }
    ReturnBlock(page, GetHeader(block));
}

void ThreadSafeFixedAllocator::Purge()
{
    const SpinLockGuard guard(lock_);
    FixedAllocator::Purge();
}

} // namespace QV
