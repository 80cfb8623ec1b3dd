#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Protected/ProtectedHeapImpl.hpp>
#include <QVRoot/MemoryManagement/Core/ProtectedAllocation.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

using namespace QV;
using Impl::ProtectedHeap;

namespace {

/// A heap is never taken down: its pages must not come back while a test looks at addresses.
ProtectedHeap& MakeHeap(const Impl::ProtectedOptions& options)
{
    static constinit ProtectedHeap heaps[8];
    static int count = 0;
    ProtectedHeap& heap = heaps[count++];
    heap.Initialize(options);
    return heap;
}

ProtectedHeap& forwards = MakeHeap({});
ProtectedHeap& backwards = MakeHeap({.backwards = true});
ProtectedHeap& lockdown = MakeHeap({.lockdown = true});

volatile char* Bytes(void* block)
{
    return static_cast<volatile char*>(block);
}

std::string Describe(ProtectedHeap& heap, const void* address)
{
    char text[8192];
    return heap.Describe(address, text, sizeof(text)) ? text : "";
}

bool Contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

class ProtectedHeapTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        oldStyle = testing::FLAGS_gtest_death_test_style;
        testing::FLAGS_gtest_death_test_style = "threadsafe";
    }
    static void TearDownTestSuite() { testing::FLAGS_gtest_death_test_style = oldStyle; }

private:
    static inline std::string oldStyle;
};

using ProtectedHeapDeathTest = ProtectedHeapTest;

TEST_F(ProtectedHeapTest, BlocksAreAlignedWritableAndAsLargeAsAsked)
{
    for (ProtectedHeap* const heap : {&forwards, &backwards, &lockdown}) {
        for (const USize size : {0, 1, 15, 16, 17, 100, 4095, 4096, 4097, 70000}) {
            void* const block = heap->Allocate(size);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(reinterpret_cast<USize>(block) % 16, 0u);
            EXPECT_EQ(heap->GetSize(block), size);
            std::memset(block, 'x', size);
            EXPECT_TRUE(heap->Check());
            heap->Free(block);
        }
        heap->Free(nullptr);
        for (const USize size : {~USize{0}, ~USize{0} - 15, ~USize{0} - 4096, (USize{1} << 47) + 1}) {
            EXPECT_EQ(heap->Allocate(size), nullptr) << size;
        }
    }
}

TEST_F(ProtectedHeapTest, ReallocationMovesAndCopies)
{
    auto* block = static_cast<char*>(forwards.Allocate(100));
    std::memset(block, 'x', 100);
    for (const USize size : {5000, 40, 40}) {
        auto* const moved = static_cast<char*>(forwards.Reallocate(block, size));
        ASSERT_NE(moved, nullptr);
        EXPECT_NE(moved, block);
        EXPECT_EQ(std::string(moved, 40), std::string(40, 'x'));
        block = moved;
    }
    EXPECT_EQ(forwards.Reallocate(block, ~USize{0} - 100), nullptr);
    EXPECT_EQ(forwards.GetSize(block), 40u);
    forwards.Free(block);
}

constexpr int FaultExitCode = 77;

/// Ends the process with `FaultExitCode` when the access faults, else with 0.
[[noreturn]] void Touch(void* block, Int64 position)
{
    std::signal(SIGSEGV, [](int) { std::_Exit(FaultExitCode); });
    Bytes(block)[position] = 1;
    std::_Exit(0);
}

TEST_F(ProtectedHeapDeathTest, TouchingTheGuardPageFaults)
{
    const testing::ExitedWithCode faults(FaultExitCode);
    const testing::ExitedWithCode passes(0);
    EXPECT_EXIT(Touch(forwards.Allocate(32), 31), passes, "");
    EXPECT_EXIT(Touch(forwards.Allocate(32), 32), faults, "");
    EXPECT_EXIT(Touch(forwards.Allocate(0), 0), faults, "");
    EXPECT_EXIT(Touch(forwards.Allocate(8192), 8192), faults, "");
    EXPECT_EXIT(Touch(backwards.Allocate(33), -1), faults, "");
    void* const freed = lockdown.Allocate(100);
    lockdown.Free(freed);
    EXPECT_EXIT(Touch(freed, 50), faults, "");
}

TEST_F(ProtectedHeapDeathTest, OverwrittenSurroundingsAreReportedWhenFreed)
{
    const auto damage = [](ProtectedHeap& heap, USize size, Int64 position) {
        void* const block = heap.Allocate(size);
        Bytes(block)[position] = 1;
        heap.Free(block);
    };
    EXPECT_DEATH(
        damage(forwards, 100, 100),
        "bytes behind the block were overwritten\nthe nearest one, at 0x\\w+, 0 bytes behind its end, "
        "holds 0x01\n0x\\w+ lies 0 bytes into a live block of 100 bytes");
    EXPECT_DEATH(damage(forwards, 1, 15), "lies 0 bytes into a live block of 1 bytes");
    EXPECT_DEATH(damage(forwards, 100, -1), "bytes in front of the block were overwritten");
    EXPECT_DEATH(damage(forwards, 16, -4080), "4080 bytes before the block, holds 0x01");
    EXPECT_DEATH(damage(backwards, 100, 4095), "bytes behind the block were overwritten");
}

TEST_F(ProtectedHeapDeathTest, WrongAddressesAreReported)
{
    const auto freeTwice = [](ProtectedHeap& heap) {
        void* const block = heap.Allocate(100);
        heap.Free(block);
        heap.Free(block);
    };
    EXPECT_DEATH(freeTwice(forwards), "found by free.*the block was freed before");
    EXPECT_DEATH(freeTwice(lockdown), "lies 0 bytes into a freed block of 100 bytes");
    EXPECT_DEATH(forwards.Free(static_cast<char*>(forwards.Allocate(100)) + 16),
                 "this is no block's beginning");
    int variable;
    EXPECT_DEATH(forwards.Free(&variable), "no block has this address");
    EXPECT_DEATH(forwards.GetSize(&variable), "found by msize.*no block has this address");
    EXPECT_DEATH(forwards.Reallocate(&variable, 10), "found by reallocate.*no block has this address");
}

TEST_F(ProtectedHeapTest, CheckFindsDamageOfAnyLiveBlock)
{
    void* const block = forwards.Allocate(10);
    void* const other = forwards.Allocate(10);
    EXPECT_TRUE(forwards.Check());
    const char pattern = Bytes(block)[10];
    Bytes(block)[10] = static_cast<char>(pattern + 1);
    EXPECT_FALSE(forwards.Check());
    Bytes(block)[10] = pattern;
    EXPECT_TRUE(forwards.Check());
    forwards.Free(block);
    forwards.Free(other);
}

TEST_F(ProtectedHeapTest, LockdownNeverReusesAnAddress)
{
    std::vector<void*> freed;
    for (int i = 0; i < 40000; ++i) { // more than could be guarded at a time
        void* const block = lockdown.Allocate(64);
        ASSERT_NE(block, nullptr);
        freed.push_back(block);
        lockdown.Free(block);
    }
    EXPECT_TRUE(Contains(Describe(lockdown, freed.front()), "freed block of 64 bytes"));
    EXPECT_FALSE(Contains(Describe(lockdown, freed.back()), "no guard page"));
    std::sort(freed.begin(), freed.end());
    EXPECT_EQ(std::adjacent_find(freed.begin(), freed.end()), freed.end());
}

TEST_F(ProtectedHeapTest, AddressesAreDescribedWithTheirBlocksAndStacks)
{
    ProtectedHeap& heap = MakeHeap({.lockdown = true, .collectStacks = true});
    auto* const block = static_cast<char*>(heap.Allocate(30));
    const std::string inside = Describe(heap, block + 5);
    EXPECT_TRUE(Contains(inside, "lies 5 bytes into a live block of 30 bytes")) << inside;
    EXPECT_TRUE(Contains(inside, "\nallocated by thread ")) << inside;
    EXPECT_GE(std::count(inside.begin(), inside.end(), '\n'), 3) << inside;
    EXPECT_FALSE(Contains(inside, "\nfreed by"));
    EXPECT_TRUE(Contains(Describe(heap, block + 40), "lies 10 bytes behind the end of a live block"));
    EXPECT_TRUE(Contains(Describe(heap, block - 3), "lies 3 bytes before a live block"));
    heap.Free(block);
    const std::string freed = Describe(heap, block);
    EXPECT_TRUE(Contains(freed, "a freed block of 30 bytes")) << freed;
    EXPECT_TRUE(Contains(freed, "\nfreed by thread ")) << freed;
    char text[20];
    EXPECT_TRUE(heap.Describe(block, text, sizeof(text)));
    EXPECT_EQ(freed.substr(0, 19), text);
    EXPECT_FALSE(heap.Describe(&heap, text, sizeof(text)));
    EXPECT_STREQ(text, "");
    EXPECT_FALSE(ProtectedAllocation::Describe(&heap, text, sizeof(text)));
}

std::atomic<int> notes = 0;

TEST_F(ProtectedHeapTest, BeyondTheSystemsLimitBlocksComeWithoutGuard)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer makes mappings at any time and gives up without them";
#endif
    const DebugOutputSink previous = DBSetOutputSink([](const char*) { ++notes; });
    ProtectedHeap& heap = MakeHeap({});
    std::vector<char*> blocks;
    for (int i = 0; i < 36000; ++i) { // two mappings each: the system's usual limit is 65,530
        blocks.push_back(static_cast<char*>(heap.Allocate(100)));
        ASSERT_NE(blocks.back(), nullptr);
        std::memset(blocks.back(), 'x', 100);
    }
    DBSetOutputSink(previous);
    const bool unguarded = Contains(Describe(heap, blocks.back()), "no guard page");
    EXPECT_EQ(notes, unguarded ? 1 : 0);
    std::thread([] {}).join(); // mappings are left for others
    blocks.back() = static_cast<char*>(heap.Reallocate(blocks.back(), 50));
    ASSERT_NE(blocks.back(), nullptr);
    EXPECT_EQ(heap.GetSize(blocks.back()), 50u);
    EXPECT_TRUE(heap.Check());
    const char pattern = blocks.back()[50];
    blocks.back()[50] = 'x';
    EXPECT_FALSE(heap.Check());
    blocks.back()[50] = pattern;
    for (char* const block : blocks) {
        heap.Free(block);
    }
    void* const block = heap.Allocate(100);
    EXPECT_FALSE(Contains(Describe(heap, block), "no guard page"));
    heap.Free(block);
}

TEST_F(ProtectedHeapTest, ManyThreadsAllocateAndFree)
{
    std::atomic<int> damages = 0;
    const auto work = [&damages](UInt32 number) {
        std::vector<char*> blocks(20);
        for (UInt32 i = 0; i < 1000; ++i) {
            char*& block = blocks[i * number % blocks.size()];
            if (block != nullptr) {
                damages += *block != static_cast<char>(number);
                block = static_cast<char*>(forwards.Reallocate(block, i % 300 + 1));
            } else {
                block = static_cast<char*>(forwards.Allocate(i % 5000 + 1));
            }
            *block = static_cast<char>(number);
            if (i % 3 == 0) {
                forwards.Free(std::exchange(block, nullptr));
            }
            damages += i % 100 == 0 && !forwards.Check();
        }
        for (char* const block : blocks) {
            forwards.Free(block);
        }
    };
    std::vector<std::thread> threads;
    for (UInt32 number = 1; number <= 4; ++number) {
        threads.emplace_back(work, number);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(damages, 0);
}

} // namespace
