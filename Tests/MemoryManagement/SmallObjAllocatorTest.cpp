#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

#include "../Support/FaultSweep.hpp"
#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManagerResource.hpp>
#include <QVRoot/MemoryManagement/SmallObjResource.hpp>
#include <QVRoot/MemoryManagement/SmallObjStdAllocator.hpp>
#include <QVRoot/MemoryManagement/SmallObject.hpp>

#include <cstring>
#include <gtest/gtest.h>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace QV;

namespace {

// Under a debugging memory manager, pools have no allocators of their own.
bool IsDebugging()
{
    return MemoryManager::IsDebugAllocationEnabled();
}

USize GetHeader(void* block)
{
    return static_cast<USize*>(block)[-1];
}

// The object size of the fixed allocator that a block comes from; 0 for one from the memory manager.
USize GetSizeOfAllocator(void* block)
{
    const USize record = GetHeader(block);
    return record == 0 ? 0 : reinterpret_cast<const USize*>(reinterpret_cast<USize*>(record)[7])[3];
}

// What a pool hands out, checked against a plain list of what is live. Blocks are filled to their ends.
class Model {
public:
    Model(SmallObjAllocator& pool, unsigned seed) : pool_(pool), random_(seed) {}
    ~Model()
    {
        while (!blocks_.empty()) {
            FreeOne();
        }
    }

    void Step()
    {
        const bool grows = (steps_++ / 700) % 2 == 0;
        if (blocks_.empty() || random_() % 3 < (grows ? 2 : 1)) {
            AllocateOne();
        } else {
            FreeOne();
        }
    }
    UInt32 GetSmallBytes() const { return smallBytes_; }

private:
    struct Block {
        unsigned char* bytes;
        USize size;
        unsigned char fill;
    };

    void AllocateOne()
    {
        const USize size = random_() % 20 == 0 ? random_() % 600 : 1 + random_() % 40;
        auto* const bytes = static_cast<unsigned char*>(pool_.Allocate(size));
        ASSERT_EQ(reinterpret_cast<USize>(bytes) % 8, 0u);
        const USize served = GetSizeOfAllocator(bytes);
        ASSERT_EQ(served, size > 512 || IsDebugging() ? 0 : size);
        smallBytes_ += static_cast<UInt32>(served);
        blocks_.push_back({bytes, size, static_cast<unsigned char>(random_())});
        std::memset(bytes, blocks_.back().fill, size);
    }

    void FreeOne()
    {
        std::swap(blocks_[random_() % blocks_.size()], blocks_.back());
        const Block block = blocks_.back();
        blocks_.pop_back();
        for (USize i = 0; i < block.size; ++i) {
            ASSERT_EQ(block.bytes[i], block.fill);
        }
        smallBytes_ -= static_cast<UInt32>(GetSizeOfAllocator(block.bytes));
        SmallObjAllocator::Deallocate(block.bytes);
    }

    SmallObjAllocator& pool_;
    std::minstd_rand random_;
    std::vector<Block> blocks_;
    UInt32 smallBytes_ = 0;
    unsigned steps_ = 0;
};

TEST(SmallObjAllocatorTest, EverySizeHasItsAllocatorAndLargerOnesHaveNone)
{
    void* const block512 = threadSafeGlobalObjPool.Allocate(512);
    void* const block511 = threadSafeGlobalObjPool.Allocate(511);
    void* const block513 = threadSafeGlobalObjPool.Allocate(513);
    void* const block0 = threadSafeGlobalObjPool.Allocate(0);
    EXPECT_EQ(GetSizeOfAllocator(block512), IsDebugging() ? 0u : 512u);
    EXPECT_EQ(GetSizeOfAllocator(block511), IsDebugging() ? 0u : 511u);
    EXPECT_EQ(GetHeader(block513), 0u);
    EXPECT_EQ(GetHeader(block0), 0u);
    std::memset(block513, 1, 513);
    for (void* const block : {block512, block511, block513, block0, static_cast<void*>(nullptr)}) {
        SmallObjAllocator::Deallocate(block);
    }
}

TEST(SmallObjAllocatorTest, RandomUseAgreesWithTheModel)
{
    for (const bool release : {false, true}) {
        for (const bool threadSafe : {false, true}) {
            const UInt64 before = FaultInjection::GetLiveBlocks();
            {
                SmallObjAllocator pool(512, release, threadSafe);
                const UInt64 empty = FaultInjection::GetLiveBlocks();
                {
                    Model model(pool, 3);
                    for (int i = 0; i < 8000 && !HasFatalFailure(); ++i) {
                        model.Step();
                        ASSERT_EQ(pool.GetSize(), model.GetSmallBytes());
                    }
                }
                EXPECT_EQ(pool.GetSize(), 0u);
                const UInt64 kept = FaultInjection::GetLiveBlocks();
                EXPECT_EQ(kept != empty, !IsDebugging());
                pool.Purge();
                EXPECT_EQ(FaultInjection::GetLiveBlocks(), release ? kept : empty);
            }
            EXPECT_EQ(FaultInjection::GetLiveBlocks(), before);
        }
    }
}

TEST(SmallObjAllocatorTest, EveryFailingAllocationLeavesNothingBehind)
{
    Testing::SweepAllocationFailures([] {
        bool succeeded = true;
        try {
            SmallObjAllocator pool(20, true, true);
            std::vector<void*> blocks;
            for (USize i = 0; i < 80; ++i) {
                try {
                    blocks.push_back(pool.Allocate(i % 8 == 0 ? 21 : 20));
                } catch (const OutOfMemoryException&) {
                    succeeded = false;
                }
            }
            for (void* const block : blocks) {
                SmallObjAllocator::Deallocate(block);
            }
            EXPECT_EQ(pool.GetSize(), 0u);
        } catch (const OutOfMemoryException&) {
            succeeded = false;
        }
        return succeeded;
    });
}

TEST(SmallObjAllocatorTest, SizesBeyondTheAddressSpaceAreExhaustedMemory)
{
    const USize most = ~USize{0};
    for (const USize size : {most, most - 7, most - 8, most / 2}) {
        EXPECT_THROW(threadSafeGlobalObjPool.Allocate(size), OutOfMemoryException);
        if (!IsDebugging()) {
            EXPECT_THROW(SmallObjAllocator(size, true, true), OutOfMemoryException);
            EXPECT_THROW(SmallObjAllocator(size / 128, true, false), OutOfMemoryException);
        }
    }
    SmallObjAllocator none(0, true, false);
    SmallObjAllocator::Deallocate(none.Allocate(1));
}

TEST(SmallObjAllocatorTest, PlainPoolBelongsToAThreadUntilItLeaves)
{
    static std::atomic<int> reports;
    reports = 0;
    const auto old = ErrorReporting::SetSink([](const ErrorReport&) { ++reports; });
    SmallObjAllocator pool(32, false, false);
    void* const block = pool.Allocate(8);
    pool.LeaveThread();
    std::thread([&] { SmallObjAllocator::Deallocate(pool.Allocate(8)); }).join();
    EXPECT_EQ(reports, 0);
    SmallObjAllocator::Deallocate(block);
    EXPECT_EQ(reports != 0, QV_CHECK_THREADS && !IsDebugging());
    reports = 0;
    std::thread([] { SmallObjAllocator::Deallocate(threadSafeGlobalObjPool.Allocate(8)); }).join();
    SmallObjAllocator::Deallocate(threadSafeGlobalObjPool.Allocate(8));
    EXPECT_EQ(reports, 0);
    ErrorReporting::SetSink(old);
}

TEST(SmallObjAllocatorTest, ThreadsUseThePoolAndFreeEachOthersBlocks)
{
    SmallObjAllocator pool(512, true, true);
    std::vector<void*> handedOver(3000);
    const auto work = [&](unsigned seed, USize begin) {
        Model model(pool, seed);
        for (int i = 0; i < 5000 && !testing::Test::HasFatalFailure(); ++i) {
            model.Step();
        }
        for (USize i = begin; i < handedOver.size(); i += 2) {
            handedOver[i] = pool.Allocate(1 + i % 50);
        }
    };
    std::thread other(work, 1, 1);
    work(2, 0);
    other.join();
    std::thread([&] {
        for (void* const block : handedOver) {
            SmallObjAllocator::Deallocate(block);
        }
    }).join();
}

class Base : public SmallObject {
public:
    virtual ~Base() = default;
};
class Derived : public Base {
public:
    char bytes[400] = {};
};
class alignas(64) Aligned : public SmallObject {};

TEST(SmallObjectTest, ObjectsLiveInThePoolOfTheProcess)
{
    const UInt32 before = threadSafeGlobalObjPool.GetSize();
    std::unique_ptr<Base> object = std::make_unique<Derived>();
    EXPECT_EQ(threadSafeGlobalObjPool.GetSize() - before, IsDebugging() ? 0u : sizeof(Derived));
    object.reset();
    EXPECT_EQ(threadSafeGlobalObjPool.GetSize(), before);
    const auto aligned = std::make_unique<Aligned>();
    EXPECT_EQ(reinterpret_cast<USize>(aligned.get()) % 64, 0u);
}

TEST(SmallObjStdAllocatorTest, ContainersTakeThePoolAlong)
{
    using List = std::list<std::string, SmallObjStdAllocator<std::string>>;
    SmallObjAllocator pool(128, false, false);
    SmallObjAllocator otherPool(128, false, false);
    {
        List list({"a", "b", "c"}, pool);
        EXPECT_EQ(pool.GetSize() != 0, !IsDebugging());
        List other(otherPool);
        other = std::move(list);
        EXPECT_EQ(&other.get_allocator().GetPool(), &pool);
        EXPECT_EQ(other.back(), "c");
        EXPECT_EQ(otherPool.GetSize(), 0u);
    }
    EXPECT_EQ(pool.GetSize(), 0u);
    std::vector<Aligned, SmallObjStdAllocator<Aligned>> aligned(5);
    EXPECT_EQ(reinterpret_cast<USize>(aligned.data()) % 64, 0u);
    EXPECT_THROW(static_cast<void>(SmallObjStdAllocator<Aligned>().allocate(~USize{0} / 32)),
                 std::bad_array_new_length);
}

TEST(MemoryResourceTest, ContainersLiveInPoolsAndInTheMemoryManager)
{
    SmallObjAllocator pool(128, false, false);
    SmallObjResource resource(pool);
    SmallObjResource global;
    MemoryManagerResource own;
    const UInt64 before = FaultInjection::GetLiveBlocks();
    {
        std::pmr::map<int, std::pmr::string> map(&resource);
        map[1] = "a text that does not fit into the string object itself";
        map[2] = map[1];
        EXPECT_EQ(pool.GetSize() != 0, !IsDebugging());
        std::pmr::vector<char> bytes(1000, 'x', MemoryManagerResource::Get());
        EXPECT_GT(FaultInjection::GetLiveBlocks(), before);
        for (std::pmr::memory_resource* const each : {static_cast<std::pmr::memory_resource*>(&resource),
                                                      static_cast<std::pmr::memory_resource*>(&own)}) {
            for (std::size_t alignment = 1; alignment <= 4096; alignment *= 2) {
                void* const block = each->allocate(100, alignment);
                EXPECT_EQ(reinterpret_cast<USize>(block) % alignment, 0u);
                std::memset(block, 1, 100);
                each->deallocate(block, 100, alignment);
            }
        }
    }
    EXPECT_EQ(pool.GetSize(), 0u);
    pool.Purge();
    EXPECT_EQ(FaultInjection::GetLiveBlocks(), before);
    const volatile USize most = ~USize{0}; // not for the compiler to warn of
    EXPECT_THROW(static_cast<void>(own.allocate(most / 2)), std::bad_alloc);
    EXPECT_THROW(static_cast<void>(own.allocate(most - 32, 64)), std::bad_alloc);
    EXPECT_TRUE(own == *MemoryManagerResource::Get());
    EXPECT_FALSE(own == resource);
    EXPECT_FALSE(resource == global);
    EXPECT_TRUE(global == SmallObjResource());
}

} // namespace
