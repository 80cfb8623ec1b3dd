#include <QVRoot/MemoryManagement/Core/BackEndChoiceImpl.hpp>
#include <QVRoot/MemoryManagement/Core/FaultInjection.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryStatistics.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using namespace QV;

namespace {

using Pattern = std::vector<bool>;

/// The layers over the system heap, or those of the process when it runs with them switched on.
const Impl::BackEnd& GetFailingHeap()
{
    static const Impl::BackEnd& layer =
        FaultInjection::IsEnabled() ? Impl::GetBackEnd() : Impl::AddFaultInjection(Impl::GetSystemHeap());
    return layer;
}

const Impl::BackEnd& GetCountingHeap()
{
    static const Impl::BackEnd& layer =
        MemoryStatistics::IsEnabled() ? Impl::GetBackEnd() : Impl::AddStatistics(GetFailingHeap());
    return layer;
}

bool AllocateOnce()
{
    void* const block = GetFailingHeap().allocate(10);
    GetFailingHeap().free(block);
    return block != nullptr;
}

/// Which of the next `count` allocations succeed.
Pattern Allocate(int count)
{
    Pattern results;
    for (int i = 0; i < count; ++i) {
        results.push_back(AllocateOnce());
    }
    return results;
}

class FaultInjectionTest : public testing::Test {
protected:
    void SetUp() override { GetFailingHeap(); }
    void TearDown() override { FaultInjection::Disable(); }
};

TEST_F(FaultInjectionTest, PlansFailTheCallsTheyNameAndCount)
{
    EXPECT_TRUE(FaultInjection::IsEnabled());
    FaultInjection::FailOnce(2);
    EXPECT_EQ(Allocate(4), (Pattern{true, false, true, true}));
    EXPECT_EQ(FaultInjection::GetAttempts(), 4u);
    EXPECT_EQ(FaultInjection::GetFailures(), 1u);
    FaultInjection::FailFrom(3);
    EXPECT_EQ(FaultInjection::GetAttempts(), 0u);
    EXPECT_EQ(Allocate(5), (Pattern{true, true, false, false, false}));
    FaultInjection::Disable();
    EXPECT_TRUE(AllocateOnce());
    EXPECT_EQ(FaultInjection::GetAttempts(), 5u);
    EXPECT_EQ(FaultInjection::GetFailures(), 3u);
    FaultInjection::FailOnce(0);
    EXPECT_EQ(Allocate(2), (Pattern{true, true}));
}

TEST_F(FaultInjectionTest, RandomPlansRepeatAndKeepTheirRate)
{
    FaultInjection::FailRandomly(7, 4);
    const Pattern first = Allocate(4000);
    const UInt64 failures = FaultInjection::GetFailures();
    EXPECT_NEAR(static_cast<double>(failures), 1000, 150);
    FaultInjection::FailRandomly(7, 4);
    EXPECT_EQ(Allocate(4000), first);
    FaultInjection::FailRandomly(8, 4);
    EXPECT_NE(Allocate(4000), first);
    FaultInjection::FailRandomly(7, 1);
    EXPECT_EQ(Allocate(2), (Pattern{false, false}));
    FaultInjection::FailRandomly(7, 0);
    EXPECT_TRUE(AllocateOnce());
}

TEST_F(FaultInjectionTest, FailedReallocationKeepsTheBlockAndNoBlockIsLost)
{
    const Impl::BackEnd& heap = GetFailingHeap();
    const UInt64 before = FaultInjection::GetLiveBlocks();
    auto* block = static_cast<char*>(heap.allocate(10));
    block[9] = 'x';
    FaultInjection::FailOnce(1);
    EXPECT_EQ(heap.reallocate(block, 1000), nullptr);
    EXPECT_EQ(block[9], 'x');
    block = static_cast<char*>(heap.reallocate(block, 1000));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[9], 'x');
    EXPECT_GE(heap.msize(block), 1000u);
    EXPECT_TRUE(heap.heapCheck());
    EXPECT_EQ(FaultInjection::GetLiveBlocks(), before + 1);
    heap.free(block);
    heap.free(nullptr);
    EXPECT_EQ(FaultInjection::GetLiveBlocks(), before);
}

TEST_F(FaultInjectionTest, PlanAppliesToItsThreadUnlessAskedForAll)
{
    bool otherSucceeds = false;
    const auto allocateElsewhere = [&] { std::thread([&] { otherSucceeds = AllocateOnce(); }).join(); };
    FaultInjection::FailFrom(1);
    allocateElsewhere();
    EXPECT_TRUE(otherSucceeds);
    EXPECT_EQ(FaultInjection::GetAttempts(), 0u);
    EXPECT_FALSE(AllocateOnce());
    FaultInjection::FailFrom(1, FaultInjection::Scope::AllThreads);
    allocateElsewhere();
    EXPECT_FALSE(otherSucceeds);
    EXPECT_EQ(FaultInjection::GetAttempts(), 1u);
}

TEST_F(FaultInjectionTest, OneOfManyThreadsIsHitOnce)
{
    std::atomic<int> failures = 0;
    FaultInjection::FailOnce(5000, FaultInjection::Scope::AllThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 2000; ++n) {
                failures += !AllocateOnce();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(FaultInjection::GetAttempts(), 8000u);
}

TEST(MemoryStatisticsTest, CountsBlocksAndUsableBytes)
{
    const Impl::BackEnd& heap = GetCountingHeap();
    EXPECT_TRUE(MemoryStatistics::IsEnabled());
    const MemoryCounts before = MemoryStatistics::Get();
    void* const small = heap.allocate(100);
    void* large = heap.allocate(50000);
    large = heap.reallocate(large, 200000);
    const MemoryCounts full = MemoryStatistics::Get();
    EXPECT_EQ(full.allocations, before.allocations + 2);
    EXPECT_EQ(full.liveBlocks, before.liveBlocks + 2);
    EXPECT_EQ(full.liveBytes, before.liveBytes + heap.msize(small) + heap.msize(large));
    EXPECT_GE(full.peakBytes, full.liveBytes);
    FaultInjection::FailFrom(1);
    EXPECT_EQ(heap.allocate(100), nullptr);
    EXPECT_EQ(heap.reallocate(large, 100), nullptr);
    FaultInjection::Disable();
    heap.free(large);
    heap.free(small);
    heap.free(nullptr);
    const MemoryCounts after = MemoryStatistics::Get();
    EXPECT_EQ(after.allocations, full.allocations);
    EXPECT_EQ(after.frees, before.frees + 2);
    EXPECT_EQ(after.liveBlocks, before.liveBlocks);
    EXPECT_EQ(after.liveBytes, before.liveBytes);
    EXPECT_EQ(after.peakBytes, full.peakBytes);
}

} // namespace
