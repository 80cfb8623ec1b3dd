/// Blocks of one size, a page of them at a time from the memory manager.
///
///     FixedAllocator nodes(sizeof(Node), true, FixedAllocator::QuadraticPageGrowth);
///     Node* const node = new (nodes.Allocate()) Node;
///     ...
///     node->~Node();
///     FixedAllocator::Deallocate(node);
///
/// One word precedes every block and leads back to its page, so a block is all that it takes to free it. Both
/// directions take constant time. Blocks are aligned to 8 bytes.
///
/// A page whose blocks are all free is kept for reuse. With `releaseEmptyPages` one page at most is kept and
/// any other goes back to the memory manager; without, all are kept until `Purge`.
///
/// Threads: one at a time, which builds without `NDEBUG` check (see `NonThreadSafeClass`); `DetachThread`
/// hands the allocator over. Errors: `OutOfMemoryException`. Sizes are bytes. Not made to be derived from
/// outside.
#pragma once

#include <QVRoot/Threading/NonThreadSafeClass.hpp>

#include <atomic>

namespace QV {

class SmallObjAllocator;

class QV_EXPORT FixedAllocator : public NonThreadSafeClass {
public:
    /// How many blocks a new page holds, p being the number of pages at that moment, kept empty ones
    /// included.
    enum AllocationPolicy : UInt32 {
        ConstantPageSize = 0,      ///< 64; so does any other value
        QuadraticPageGrowth = 1,   ///< 64 × (p + 1)²
        ExponentialPageGrowth = 2, ///< 64 × 2^p
    };

    /// An allocator on its own. More than 2^32 - 1 blocks in a page count as exhausted memory.
    FixedAllocator(USize objectSize, bool releaseEmptyPages, AllocationPolicy policy);
    FixedAllocator(const FixedAllocator&) = delete;
    FixedAllocator& operator=(const FixedAllocator&) = delete;

    void* Allocate();

    /// Takes a block back into the allocator that it came from; null is ignored. Whether the block is one,
    /// and not free already, is not tested. Not for large blocks of a `SmallObjAllocator`.
    static void Deallocate(void* block);

private:
    struct Page;

    /// The word before a block: where it belongs while it is handed out, the next free one otherwise.
    union Header {
        Page* page;
        Header* next;
    };

    /// What is known about a page. Other programs rely on the order of the fields.
    struct Page {
        USize wordsPerObject;
        USize freeCount;
        Header* memory;
        Header* freeBlocks;
        USize blockCount;
        Page* next;
        Page* previous;
        FixedAllocator* owner;
    };
    static_assert(sizeof(Page) == 64 && sizeof(Header) == 8);

    // The virtual operations in the order of their slots.
    virtual void* AllocateAndIncreaseSize();
    virtual void DeallocateAndDecreaseSize(Page* page, void* block);

public:
    /// Purges. Blocks still in use keep their pages, which are then lost.
    virtual ~FixedAllocator();

    /// Gives the empty pages back to the memory manager.
    virtual void Purge();

private:
    friend class SmallObjAllocator;
    friend class ThreadSafeFixedAllocator;

    FixedAllocator(USize objectSize, bool releaseEmptyPages, bool isThreadSafe, SmallObjAllocator* owner);

    static Header* GetHeader(void* block) noexcept { return static_cast<Header*>(block) - 1; }

    void* TakeBlock();
    static void* TakeBlockFrom(Page* page) noexcept;
    void ReturnBlock(Page* page, Header* header) noexcept;

    // The list of pages with free blocks is kept a little lazily, which nobody sees. Its first page may have
    // become full: it leaves when the next one is needed. Or it may have become empty: when no other could
    // serve in its place, it goes where empty pages belong only when that changes.

    /// Whether the page is the only one that could serve.
    bool ServesAlone(const Page* page) const noexcept
    {
        return firstPage_ == page && page->next == nullptr && emptyPages_ == nullptr;
    }

    Page* ProvidePage();
    Page* FindPage() noexcept;
    Page* CreatePage(USize count);
    void AddPage(Page* page) noexcept;
    void DestroyPage(Page* page) noexcept;
    void RetirePage(Page* page) noexcept;
    void LinkInFront(Page* page) noexcept;
    void Unlink(Page* page) noexcept;
    void SettleEmptyPage() noexcept;
    void PurgePages() noexcept;
    USize GetBlocksOfNewPage() const noexcept;

    USize objectSize_;
    Page* firstPage_ = nullptr;  ///< pages with free blocks; `previous` of the first is not kept
    Page* emptyPages_ = nullptr; ///< pages kept for reuse, linked by `next` alone
    bool releaseEmptyPages_;
    bool isCheckOff_; ///< for the thread-safe form, whose operations go through the virtual ones
    SmallObjAllocator* owner_ = nullptr;
    UInt32 pageCount_ = 0;
    AllocationPolicy policy_ = ConstantPageSize;
};

static_assert(sizeof(FixedAllocator) == 72);

inline void* FixedAllocator::TakeBlockFrom(Page* page) noexcept
{
    Header* const header = page->freeBlocks;
    page->freeBlocks = header->next;
    header->page = page;
    --page->freeCount;
    return header + 1;
}

inline void* FixedAllocator::TakeBlock()
{
    Page* const page = firstPage_;
    if (page == nullptr || page->freeBlocks == nullptr) [[unlikely]] {
        return TakeBlockFrom(ProvidePage());
    }
    return TakeBlockFrom(page);
}

inline void FixedAllocator::LinkInFront(Page* page) noexcept
{
    Page* next = firstPage_;
    if (next != nullptr) {
        if (next->freeBlocks == nullptr) {
            next = next->next;
        } else if (next->freeCount == next->blockCount) [[unlikely]] {
            SettleEmptyPage();
            next = nullptr;
        }
    }
    page->next = next;
    if (next != nullptr) {
        next->previous = page;
    }
    firstPage_ = page;
}

inline void FixedAllocator::ReturnBlock(Page* page, Header* header) noexcept
{
    Header* const next = page->freeBlocks;
    header->next = next;
    page->freeBlocks = header;
    const bool isLastInUse = page->freeCount == page->blockCount - 1;
    // Makes the count be compared and increased in memory: by way of a register, a pair takes half as long
    // again.
    std::atomic_signal_fence(std::memory_order_seq_cst);
    ++page->freeCount;
    if (next == nullptr) {
        if (page != firstPage_) {
            LinkInFront(page);
        }
    } else if (isLastInUse && !ServesAlone(page)) [[unlikely]] {
        RetirePage(page);
    }
}

inline void* FixedAllocator::Allocate()
{
    if (isCheckOff_) [[unlikely]] {
        return AllocateAndIncreaseSize();
    }
    CheckThread();
    return TakeBlock();
}

inline void FixedAllocator::Deallocate(void* block)
{
    if (block == nullptr) [[unlikely]] {
        return;
    }
    Header* const header = GetHeader(block);
    Page* const page = header->page;
    FixedAllocator& owner = *page->owner;
    if (owner.isCheckOff_) [[unlikely]] {
        owner.DeallocateAndDecreaseSize(page, block);
        return;
    }
    owner.CheckThread();
    owner.ReturnBlock(page, header);
}

} // namespace QV
