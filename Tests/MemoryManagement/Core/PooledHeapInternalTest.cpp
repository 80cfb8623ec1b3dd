#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/BlockImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/PooledHeapImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/SizeClassesImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

using namespace QV;
using namespace QV::Impl;
using namespace QV::Impl::Pooled;

namespace {

const BackEnd& heap = GetPooledHeap();

bool HoldsOnly(const void* block, USize size, unsigned char value)
{
    const auto* const bytes = static_cast<const unsigned char*>(block);
    return std::all_of(bytes, bytes + size, [value](unsigned char byte) { return byte == value; });
}

USize GetHeldBytes()
{
    const HeapStatistics statistics = GetHeapStatistics();
    return statistics.spanBytes + statistics.largeBytes + statistics.residentFreeBytes;
}

} // namespace

TEST(PooledHeapSizeClasses, AreTightAndAgreeWithTheLookup)
{
    for (USize size = 0; size <= LargestPayload; size += size < 5000 ? 1 : 61) {
        const UInt32 sizeClass = ComputeSizeClass(size);
        ASSERT_GE(GetClassPayload(sizeClass), size);
        ASSERT_TRUE(sizeClass == 0 || GetClassPayload(sizeClass - 1) < size);
        ASSERT_LE(GetClassPayload(sizeClass) - size, std::max<USize>(16, size / 8));
        if (size <= LookupLimit) {
            ASSERT_EQ(LookUpSizeClass(size), sizeClass);
        }
    }
    EXPECT_EQ(GetClassPayload(ClassCount - 1), LargestPayload);
}

TEST(PooledHeapSizeClasses, DivideSpansExactlyAndWithoutMuchRest)
{
    for (const ClassInfo& info : classInfos) {
        const USize bytes = info.pagesPerSpan * PageSize;
        const USize rest = bytes - info.blocksPerSpan * USize{info.chunkSize};
        ASSERT_LE(rest, info.blocksPerSpan == 1 ? PageSize : bytes / 8) << info.chunkSize;
        for (UInt32 block = 0; block < info.blocksPerSpan; ++block) {
            const USize offset = block * USize{info.chunkSize};
            ASSERT_EQ(GetBlockIndex(info, offset), block);
            ASSERT_EQ(GetBlockIndex(info, offset + info.chunkSize - 1), block);
        }
    }
}

TEST(PooledHeap, GivesAlignedBlocksBelowAHeaderWithTheChunkSize)
{
    for (USize size = 0; size < (USize{3} << 20); size += size / 7 + 1) {
        void* const block = heap.allocate(size);
        ASSERT_NE(block, nullptr);
        ASSERT_EQ(reinterpret_cast<USize>(block) % 16, 0u);
        UInt64 header;
        std::memcpy(&header, static_cast<char*>(block) - 8, 8);
        ASSERT_EQ(header & 7, 2u);
        ASSERT_EQ((header & ~UInt64{7}) - 16, heap.msize(block));
        ASSERT_GE(heap.msize(block), size);
        std::memset(block, 0xAB, heap.msize(block));
        heap.free(block);
    }
    heap.free(nullptr);
    EXPECT_TRUE(heap.heapCheck());
}

TEST(PooledHeap, FailsForSizesThatNoMachineHas)
{
    void* const block = heap.allocate(300'000);
    for (const USize size : {~USize{0}, ~USize{0} - 63, USize{1} << 63, USize{1} << 62}) {
        EXPECT_EQ(heap.allocate(size), nullptr);
        EXPECT_EQ(heap.reallocate(block, size), nullptr);
    }
    std::memset(block, 1, 300'000);
    heap.free(block);
}

TEST(PooledHeap, KeepsContentsWhenResizing)
{
    std::mt19937_64 random(1);
    for (int round = 0; round < 300; ++round) {
        USize size = 1 + random() % 64;
        void* block = heap.allocate(size);
        std::memset(block, round & 0xFF, size);
        for (int step = 0; step < 12; ++step) {
            const USize fresh = 1 + random() % (USize{16} << random() % 17);
            block = heap.reallocate(block, fresh);
            ASSERT_NE(block, nullptr);
            ASSERT_GE(heap.msize(block), fresh);
            ASSERT_TRUE(HoldsOnly(block, std::min(size, fresh), round & 0xFF));
            size = fresh;
            std::memset(block, round & 0xFF, size);
        }
        heap.free(block);
    }
    EXPECT_TRUE(heap.heapCheck());
}

TEST(PooledHeap, GrowsInFewSteps)
{
    int moves = 0;
    char* block = static_cast<char*>(heap.allocate(16));
    for (USize size = 16; size < (USize{8} << 20); size += 1000) {
        char* const grown = static_cast<char*>(heap.reallocate(block, size));
        ASSERT_NE(grown, nullptr);
        moves += grown != block ? 1 : 0;
        block = grown;
        block[size - 1] = 'x';
    }
    EXPECT_LT(moves, 60);
    heap.free(block);
}

TEST(PooledHeap, GivesMemoryBackOnceItIsFree)
{
    ReleaseFreeMemory();
    const USize before = GetHeldBytes();
    std::vector<void*> blocks;
    USize bytes = 0;
    for (USize size = 16; bytes < (USize{100} << 20); size = size < 2000 ? size + 8 : 16) {
        blocks.push_back(heap.allocate(size));
        bytes += size;
    }
    blocks.push_back(heap.allocate(USize{20} << 20));
    EXPECT_GT(GetHeldBytes(), before + bytes);
    std::shuffle(blocks.begin(), blocks.end(), std::mt19937(2));
    for (void* const block : blocks) {
        heap.free(block);
    }
    EXPECT_LT(GetHeldBytes(), before + bytes / 3);
    ReleaseFreeMemory();
    EXPECT_LE(GetHeldBytes(), before);
    EXPECT_TRUE(heap.heapCheck());
}

TEST(PooledHeap, ReusesWhatAnEndedThreadHadCached)
{
    constexpr USize count = 2000;
    constexpr USize size = 120;
    const auto work = [] {
        std::vector<void*> blocks(count);
        for (void*& block : blocks) {
            block = heap.allocate(size);
        }
        for (void* const block : blocks) {
            heap.free(block);
        }
    };
    std::thread(work).join();
    const HeapStatistics once = GetHeapStatistics();
    for (int i = 0; i < 100; ++i) {
        std::thread(work).join();
    }
    EXPECT_LE(GetHeapStatistics().spanBytes, once.spanBytes + count * (size + ChunkOverhead));
    EXPECT_EQ(GetHeapStatistics().metadataBytes, once.metadataBytes);
}

namespace {

/// Uses the heap while the thread is taken apart, several times over and after the heap's own part of it.
void AllocateAtThreadEnd(void* value);

constinit ThreadSlot lateSlots[2] = {ThreadSlot(&AllocateAtThreadEnd), ThreadSlot(&AllocateAtThreadEnd)};
constinit std::atomic<int> lateCalls = 0;

void AllocateAtThreadEnd(void* value)
{
    void* const blocks[] = {heap.allocate(40), heap.allocate(40), heap.allocate(5000),
                            heap.allocate(1 << 20)};
    EXPECT_NE(blocks[0], blocks[1]);
    for (void* const block : blocks) {
        std::memset(block, 7, 40);
        heap.free(block);
    }
    heap.free(heap.reallocate(value, 3000));
    ++lateCalls;
}

} // namespace

TEST(PooledHeap, ServesThreadsThatAreEnding)
{
    lateSlots[0].Get();
    for (int i = 0; i < 20; ++i) {
        std::thread([] {
            lateSlots[0].Set(heap.allocate(24));
            lateSlots[1].Set(heap.allocate(2400));
        }).join();
    }
    EXPECT_EQ(lateCalls, 40);
    EXPECT_TRUE(heap.heapCheck());
}

TEST(PooledHeap, NoticesDamageInItsCheck)
{
    void* const block = heap.allocate(50);
    const UInt64 header = GetHeader(block);
    SetHeader(block, header + 16);
    EXPECT_FALSE(heap.heapCheck());
    SetHeader(block, header);
    EXPECT_TRUE(heap.heapCheck());
    heap.free(block);
}

class PooledHeapDeathTest : public testing::TestWithParam<USize> {};

TEST_P(PooledHeapDeathTest, EndsTheProcessForABlockFreedTwice)
{
    const USize size = GetParam();
    EXPECT_DEATH(
        {
            void* const block = heap.allocate(size);
            heap.free(block);
            heap.free(block);
        },
        "the block at 0x\\w+ was freed twice");
    EXPECT_DEATH(
        {
            void* const block = heap.allocate(size);
            heap.free(block);
            heap.reallocate(block, size);
        },
        "was freed twice");
}

TEST_P(PooledHeapDeathTest, EndsTheProcessForADamagedHeader)
{
    void* const block = heap.allocate(GetParam());
    const UInt64 header = GetHeader(block);
    const UInt64 tag = GetTag(block);
    for (const UInt64 damaged : {UInt64{0}, header + 16, UInt64{0x4141414141414141}}) {
        SetHeader(block, damaged);
        EXPECT_DEATH(heap.free(block), "the block at 0x\\w+ has a damaged header");
        EXPECT_DEATH(heap.msize(block), "has a damaged header");
    }
    SetHeader(block, header);
    SetTag(block, 0x4141414141414141);
    EXPECT_DEATH(heap.free(block), "has a damaged header");
    SetTag(block, tag);
    heap.free(block);
}

TEST_P(PooledHeapDeathTest, EndsTheProcessForPointersThatAreNoBlocks)
{
    const USize size = GetParam();
    char* const block = static_cast<char*>(heap.allocate(size));
    char onStack[64] = {};
    std::vector<void*> wild = {onStack + 16,
                               reinterpret_cast<void*>(64),
                               reinterpret_cast<void*>(~USize{0} - 63),
                               block + 8,
                               block + 16,
                               block - 16};
    for (void* const pointer : wild) {
        EXPECT_DEATH(heap.free(pointer), "the block at 0x\\w+ .*is not \\w+ .*block");
        EXPECT_DEATH(heap.msize(pointer), "the block at 0x\\w+ .*is not \\w+ .*block");
    }
    std::memset(block, 0, size);
    heap.free(block);
    // Neither is one whose memory the system has taken back.
    EXPECT_DEATH(
        {
            ReleaseFreeMemory();
            heap.free(block);
        },
        "the block at 0x\\w+ .*was freed");
}

TEST_P(PooledHeapDeathTest, FindsASingleByteThatWasWrittenBehindABlock)
{
    if (GetParam() > LargestPayload) {
        GTEST_SKIP() << "such blocks have pages of their own";
    }
    std::vector<char*> blocks(100);
    for (char*& block : blocks) {
        block = static_cast<char*>(heap.allocate(GetParam()));
    }
    std::sort(blocks.begin(), blocks.end());
    const USize chunkSize = heap.msize(blocks[0]) + ChunkOverhead;
    const auto next = std::adjacent_find(blocks.begin(), blocks.end(),
                                         [=](char* one, char* other) { return one + chunkSize == other; });
    ASSERT_NE(next, blocks.end());
    char& behind = (*next)[heap.msize(*next)];
    ++behind;
    EXPECT_FALSE(heap.heapCheck());
    EXPECT_DEATH(heap.free(next[1]), "the block at 0x\\w+ has a damaged header");
    --behind;
    for (char* const block : blocks) {
        heap.free(block);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, PooledHeapDeathTest, testing::Values(USize{64}, USize{5000}, USize{1} << 20));
