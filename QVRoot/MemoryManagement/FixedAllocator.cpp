#include <QVRoot/MemoryManagement/FixedAllocator.hpp>

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

#include <memory>

namespace QV {

namespace {

constexpr USize BaseBlockCount = 64;
constexpr USize MostBlocks = 0xFFFFFFFF;
constexpr USize TooMuch = ~USize{0};

/// The product; what does not fit is more memory than there can be.
constexpr USize Multiply(USize a, USize b) noexcept
{
    return a != 0 && b > TooMuch / a ? TooMuch : a * b;
}

void* AllocateMemory(USize size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

} // namespace

FixedAllocator::FixedAllocator(USize objectSize, bool releaseEmptyPages, AllocationPolicy policy)
    : objectSize_(objectSize), releaseEmptyPages_(releaseEmptyPages), isCheckOff_(false), policy_(policy)
{
}

FixedAllocator::FixedAllocator(USize objectSize, bool releaseEmptyPages, bool isThreadSafe,
                               SmallObjAllocator* owner)
    : objectSize_(objectSize), releaseEmptyPages_(releaseEmptyPages), isCheckOff_(isThreadSafe), owner_(owner)
{
}

FixedAllocator::~FixedAllocator()
{
    isCheckOff_ = true;
    PurgePages();
}

void* FixedAllocator::AllocateAndIncreaseSize()
{
    void* const block = TakeBlock();
    if (owner_ != nullptr) {
        owner_->AddBytes(objectSize_);
    }
    return block;
}

void FixedAllocator::DeallocateAndDecreaseSize(Page* page, void* block)
{
    if (owner_ != nullptr) {
        owner_->AddBytes(0 - objectSize_);
    }
    ReturnBlock(page, GetHeader(block));
}

void FixedAllocator::Purge()
{
    if (!isCheckOff_) {
        CheckThread();
    }
    PurgePages();
}

void FixedAllocator::PurgePages() noexcept
{
    SettleEmptyPage();
    while (Page* const page = emptyPages_) {
        emptyPages_ = page->next;
        DestroyPage(page);
    }
}

/// Puts a page with free blocks in front when the first one is full. Answers null when there is none.
FixedAllocator::Page* FixedAllocator::FindPage() noexcept
{
    if (firstPage_ != nullptr && firstPage_->freeBlocks == nullptr) {
        firstPage_ = firstPage_->next;
    }
    if (firstPage_ == nullptr && emptyPages_ != nullptr) {
        Page* const page = emptyPages_;
        emptyPages_ = page->next;
        LinkInFront(page);
    }
    return firstPage_;
}

FixedAllocator::Page* FixedAllocator::ProvidePage()
{
    if (FindPage() == nullptr) {
        // A failure handler may free blocks of this allocator in between.
        AddPage(CreatePage(GetBlocksOfNewPage()));
    }
    return firstPage_;
}

USize FixedAllocator::GetBlocksOfNewPage() const noexcept
{
    const USize pages = pageCount_;
    switch (policy_) {
    case QuadraticPageGrowth:
        return Multiply(BaseBlockCount, Multiply(pages + 1, pages + 1));
    case ExponentialPageGrowth:
        return pages < 32 ? BaseBlockCount << pages : TooMuch;
    default:
        return BaseBlockCount;
    }
}

FixedAllocator::Page* FixedAllocator::CreatePage(USize count)
{
    const USize words = objectSize_ / sizeof(Header) + (objectSize_ % sizeof(Header) != 0);
    const USize blockSize = Multiply(words + 1, sizeof(Header));
    const auto release = [](void* memory) { MemoryManager::Free(memory); };
    std::unique_ptr<void, decltype(release)> record(AllocateMemory(sizeof(Page)), release);
    auto* const memory =
        static_cast<Header*>(AllocateMemory(count > MostBlocks ? TooMuch : Multiply(blockSize, count)));

    Header* header = memory;
    for (USize i = 1; i < count; ++i, header += words + 1) {
        header->next = header + words + 1;
    }
    header->next = nullptr;
    return new (record.release()) Page{words, count, memory, memory, count, nullptr, nullptr, this};
}

void FixedAllocator::AddPage(Page* page) noexcept
{
    ++pageCount_;
    LinkInFront(page);
}

void FixedAllocator::DestroyPage(Page* page) noexcept
{
    --pageCount_;
    MemoryManager::Free(page->memory);
    MemoryManager::Free(page);
}

/// For a page that has become empty.
void FixedAllocator::RetirePage(Page* page) noexcept
{
    Unlink(page);
    if (emptyPages_ != nullptr && releaseEmptyPages_) {
        DestroyPage(page);
        return;
    }
    page->next = emptyPages_;
    emptyPages_ = page;
}

void FixedAllocator::Unlink(Page* page) noexcept
{
    (page == firstPage_ ? firstPage_ : page->previous->next) = page->next;
    if (page->next != nullptr) {
        page->next->previous = page->previous;
    }
}

/// Moves the first page to the empty ones if it is.
void FixedAllocator::SettleEmptyPage() noexcept
{
    Page* const page = firstPage_;
    if (page != nullptr && page->freeCount == page->blockCount) {
        Unlink(page);
        page->next = emptyPages_;
        emptyPages_ = page;
    }
}

} // namespace QV
