/// A `FixedAllocator` for any number of threads: a spin lock is held around each operation.
///
/// A block may be freed by another thread than the one that allocated it. The memory manager is asked for
/// new pages without the lock, so its failure handlers may free blocks of this allocator.
///
/// Threads: any. Errors: `OutOfMemoryException`. Sizes are bytes.
#pragma once

#include <QVRoot/MemoryManagement/FixedAllocator.hpp>
#include <QVRoot/Threading/SpinLock.hpp>

namespace QV {

class QV_EXPORT ThreadSafeFixedAllocator final : public FixedAllocator {
public:
    /// An allocator on its own. See `FixedAllocator` for the arguments.
    ThreadSafeFixedAllocator(USize objectSize, bool releaseEmptyPages,
                             AllocationPolicy policy = ConstantPageSize);
    ~ThreadSafeFixedAllocator() override;

    void* Allocate() { return AllocateAndIncreaseSize(); }

    void Purge() override;

private:
    friend class SmallObjAllocator;

    ThreadSafeFixedAllocator(USize objectSize, bool releaseEmptyPages, SmallObjAllocator* owner);

    void* AllocateAndIncreaseSize() override;
    void DeallocateAndDecreaseSize(Page* page, void* block) override;

    void* TakeAndCount(Page* page) noexcept;
    void* AllocateFromNewPage(USize count);

    SpinLock lock_;
};

static_assert(sizeof(ThreadSafeFixedAllocator) == sizeof(FixedAllocator) + sizeof(SpinLock));

} // namespace QV
