#include <QVRoot/MemoryManagement/FixedAllocator.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/FaultInjection.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/MemoryManagement/ThreadSafeFixedAllocator.hpp>

#include <gtest/gtest.h>
#include <vector>

using namespace QV;

namespace {

// A page's record, as other programs read it.
struct Record {
    USize wordsPerObject;
    USize freeCount;
    USize* memory;
    USize* freeBlocks;
    USize blockCount;
    Record* next;
    Record* previous;
    const FixedAllocator* owner;
};

USize* GetHeader(void* block)
{
    return static_cast<USize*>(block) - 1;
}

Record* GetRecord(void* block)
{
    return reinterpret_cast<Record*>(*GetHeader(block));
}

std::vector<void*> Allocate(FixedAllocator& allocator, USize count)
{
    std::vector<void*> blocks(count);
    for (void*& block : blocks) {
        block = allocator.Allocate();
    }
    return blocks;
}

void Free(const std::vector<void*>& blocks)
{
    for (void* const block : blocks) {
        FixedAllocator::Deallocate(block);
    }
}

// The pages that exist, from what the memory manager has handed out: a record and the blocks each.
class Pages {
public:
    Pages() { EXPECT_TRUE(FaultInjection::IsEnabled()); }
    Int64 Count() const { return static_cast<Int64>(FaultInjection::GetLiveBlocks() - before_) / 2; }

private:
    UInt64 before_ = FaultInjection::GetLiveBlocks();
};

// The sizes of the first `count` pages that an allocator fills.
std::vector<USize> GetPageSizes(FixedAllocator& allocator, USize count)
{
    std::vector<USize> sizes;
    std::vector<void*> blocks;
    while (sizes.size() < count) {
        blocks.push_back(allocator.Allocate());
        const Record& page = *GetRecord(blocks.back());
        if (page.freeCount + 1 == page.blockCount) {
            sizes.push_back(page.blockCount);
        }
    }
    Free(blocks);
    return sizes;
}

TEST(FixedAllocatorTest, BlocksFollowTheirHeadersInAddressOrder)
{
    for (const USize size : {0, 1, 7, 8, 9, 100}) {
        FixedAllocator allocator(size, true, FixedAllocator::ConstantPageSize);
        char* const first = static_cast<char*>(allocator.Allocate());
        const Record& page = *GetRecord(first);
        const USize words = (size + 7) / 8;
        EXPECT_EQ(page.wordsPerObject, words);
        EXPECT_EQ(page.freeCount, 63u);
        EXPECT_EQ(page.memory, GetHeader(first));
        EXPECT_EQ(page.blockCount, 64u);
        EXPECT_EQ(page.next, nullptr);
        EXPECT_EQ(page.previous, nullptr);
        EXPECT_EQ(page.owner, &allocator);
        USize* header = page.freeBlocks;
        for (USize i = 1; i < 64; ++i) {
            ASSERT_EQ(header, page.memory + i * (words + 1));
            header = reinterpret_cast<USize*>(*header);
        }
        EXPECT_EQ(header, nullptr);
        for (USize i = 1; i < 64; ++i) {
            ASSERT_EQ(allocator.Allocate(), first + i * (words + 1) * 8);
        }
        EXPECT_EQ(page.freeCount, 0u);
        for (USize i = 0; i < 64; ++i) {
            FixedAllocator::Deallocate(first + i * (words + 1) * 8);
        }
    }
    FixedAllocator::Deallocate(nullptr);
}

TEST(FixedAllocatorTest, PoliciesCountThePagesOfTheMoment)
{
    using Sizes = std::vector<USize>;
    FixedAllocator constant(8, false, FixedAllocator::ConstantPageSize);
    EXPECT_EQ(GetPageSizes(constant, 3), (Sizes{64, 64, 64}));
    FixedAllocator other(8, false, static_cast<FixedAllocator::AllocationPolicy>(3));
    EXPECT_EQ(GetPageSizes(other, 3), (Sizes{64, 64, 64}));
    FixedAllocator quadratic(8, false, FixedAllocator::QuadraticPageGrowth);
    EXPECT_EQ(GetPageSizes(quadratic, 4), (Sizes{64, 256, 576, 1024}));
    quadratic.Purge();
    EXPECT_EQ(GetPageSizes(quadratic, 2), (Sizes{64, 256}));
    FixedAllocator exponential(8, true, FixedAllocator::ExponentialPageGrowth);
    EXPECT_EQ(GetPageSizes(exponential, 4), (Sizes{64, 128, 256, 512}));
    // One empty page is left and counts.
    const USize kept = GetPageSizes(exponential, 1)[0];
    EXPECT_EQ(GetPageSizes(exponential, 2), (Sizes{kept, 128}));
}

TEST(FixedAllocatorTest, EmptyPagesAreKeptOrReleased)
{
    for (const bool release : {true, false}) {
        const Pages pages;
        {
            FixedAllocator allocator(24, release, FixedAllocator::ConstantPageSize);
            const std::vector<void*> blocks = Allocate(allocator, 3 * 64);
            EXPECT_EQ(pages.Count(), 3);
            Free(blocks);
            EXPECT_EQ(pages.Count(), release ? 1 : 3);
            const std::vector<void*> more = Allocate(allocator, 4 * 64);
            EXPECT_EQ(pages.Count(), 4);
            allocator.Purge();
            EXPECT_EQ(pages.Count(), 4);
            Free(more);
            allocator.Purge();
            EXPECT_EQ(pages.Count(), 0);
            FixedAllocator::Deallocate(allocator.Allocate());
            EXPECT_EQ(pages.Count(), 1);
        }
        EXPECT_EQ(pages.Count(), 0) << "the destructor purges";
    }
}

TEST(FixedAllocatorTest, PagesThatWereFullServeFirst)
{
    FixedAllocator allocator(16, false, FixedAllocator::ConstantPageSize);
    std::vector<void*> blocks = Allocate(allocator, 3 * 64 - 1); // the third page has one to give
    FixedAllocator::Deallocate(blocks[70]);
    FixedAllocator::Deallocate(blocks[5]);
    FixedAllocator::Deallocate(blocks[6]);
    EXPECT_EQ(allocator.Allocate(), blocks[6]);
    EXPECT_EQ(allocator.Allocate(), blocks[5]);
    EXPECT_EQ(allocator.Allocate(), blocks[70]);
    void* const last = allocator.Allocate();
    EXPECT_EQ(GetRecord(last), GetRecord(blocks[128]));
    EXPECT_EQ(GetRecord(last)->freeCount, 0u);
    blocks.push_back(last);
    // Pages leave the list from its end, its middle and its front.
    for (const USize page : {0, 1, 2}) {
        FixedAllocator::Deallocate(blocks[page * 64]);
    }
    for (const USize page : {0, 1, 2}) {
        for (USize i = 1; i < 64; ++i) {
            FixedAllocator::Deallocate(blocks[page * 64 + i]);
        }
    }
    allocator.Purge();
}

TEST(FixedAllocatorTest, EmptyPageServesOnlyAfterAllOthers)
{
    Pages pages;
    FixedAllocator allocator(16, true, FixedAllocator::ConstantPageSize);
    const std::vector<void*> full = Allocate(allocator, 64);
    void* const alone = allocator.Allocate();
    FixedAllocator::Deallocate(alone); // the only page with free blocks, and empty
    FixedAllocator::Deallocate(full[9]);
    EXPECT_EQ(allocator.Allocate(), full[9]);
    EXPECT_EQ(allocator.Allocate(), alone);
    FixedAllocator::Deallocate(alone);
    Free(full);
    EXPECT_EQ(pages.Count(), 1) << "the second page to become empty is released";
    EXPECT_EQ(allocator.Allocate(), alone);
    FixedAllocator::Deallocate(alone);
}

TEST(FixedAllocatorTest, SizesBeyondTheAddressSpaceAreExhaustedMemory)
{
    Pages pages;
    const USize most = ~USize{0};
    for (const USize size : {most, most - 7, most - 8, most / 2, most / 64, USize{1} << 58, USize{1} << 57}) {
        FixedAllocator allocator(size, true, FixedAllocator::ConstantPageSize);
        EXPECT_THROW(allocator.Allocate(), OutOfMemoryException);
    }
    // The number of pages lies where the layout says.
    for (const UInt32 pageCount : {26u, 31u, 32u, 58u, 64u, 0xFFFFFFFFu}) {
        for (const auto policy :
             {FixedAllocator::ExponentialPageGrowth, FixedAllocator::QuadraticPageGrowth}) {
            FixedAllocator allocator(1, true, policy);
            UInt32* const count = reinterpret_cast<UInt32*>(&allocator) + 16;
            EXPECT_EQ(count[1], policy);
            *count = policy == FixedAllocator::QuadraticPageGrowth ? pageCount | 0x8000 : pageCount;
            EXPECT_THROW(allocator.Allocate(), OutOfMemoryException);
        }
    }
    EXPECT_EQ(pages.Count(), 0);
}

TEST(ThreadSafeFixedAllocatorTest, FailureHandlerMayFreeBlocksOfTheSameAllocator)
{
    class Handler : public MemoryAllocationFailureHandler {
    public:
        bool HandleAllocationFailure(USize) override
        {
            Free(blocks);
            blocks.clear();
            return true;
        }
        std::vector<void*> blocks;
    };
    ThreadSafeFixedAllocator allocator(16, false);
    Handler handler;
    handler.blocks = Allocate(allocator, 64);
    MemoryManager::GetInstance().RegisterAllocationFailureHandler(&handler);
    FaultInjection::FailOnce(1);
    void* const block = allocator.Allocate();
    FaultInjection::Disable();
    MemoryManager::GetInstance().UnregisterAllocationFailureHandler(&handler);
    EXPECT_TRUE(handler.blocks.empty());
    FixedAllocator::Deallocate(block);
    Pages pages;
    allocator.Purge();
    EXPECT_EQ(pages.Count(), -2) << "the new page and the one that became empty meanwhile";
}

} // namespace
