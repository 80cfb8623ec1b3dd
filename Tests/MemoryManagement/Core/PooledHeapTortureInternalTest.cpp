#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/PooledHeapImpl.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

using namespace QV;
using namespace QV::Impl;

namespace {

/// How many operations the threads do together: what the environment variable QV_TORTURE_OPERATIONS says, or
/// as many as suit the machine that runs the test.
UInt64 GetOperationCount()
{
    if (const char* const asked = std::getenv("QV_TORTURE_OPERATIONS")) {
        return std::strtoull(asked, nullptr, 10);
    }
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(_WIN32)
    return 2'000'000;
#else
    return 32'000'000;
#endif
}

constexpr int threadCount = 16;
constexpr USize exchangeSlots = 4096;
constexpr USize ownSlots = 512;

struct Block {
    USize size;
    UInt64 pattern; ///< of the last word that `size` covers; between are fillers
};

/// Blocks that any thread may take and free.
std::atomic<Block*> exchange[exchangeSlots];

class Worker {
public:
    explicit Worker(UInt64 seed) : random_(seed) {}

    void Run(UInt64 operations)
    {
        std::vector<Block*> own(ownSlots);
        for (UInt64 i = 0; i < operations; ++i) {
            Block*& slot = own[random_() % ownSlots];
            switch (random_() % 8) {
            case 0:
                slot = exchange[random_() % exchangeSlots].exchange(slot, std::memory_order_acq_rel);
                break;
            case 1:
                slot = Resize(slot);
                break;
            default:
                Destroy(slot);
                slot = Make(ChooseSize());
            }
        }
        for (Block* const block : own) {
            Destroy(block);
        }
    }

    static void Destroy(Block* block)
    {
        Check(block);
        heap_.free(block);
    }

private:
    USize ChooseSize()
    {
        const UInt64 kind = random_() % 4096;
        const USize most = kind == 0 ? 1'500'000 : kind < 64 ? 40'000 : kind < 1024 ? 2'000 : 256;
        return sizeof(Block) + random_() % most;
    }

    Block* Make(USize size)
    {
        auto* const block = static_cast<Block*>(heap_.allocate(size));
        return Fill(block, size);
    }

    Block* Fill(Block* block, USize size)
    {
        if (block == nullptr || heap_.msize(block) < size || reinterpret_cast<USize>(block) % 16 != 0) {
            ADD_FAILURE() << "no block of " << size;
            std::abort();
        }
        block->size = size;
        block->pattern = random_();
        std::memset(block + 1, static_cast<int>(block->pattern), size - sizeof(Block));
        return block;
    }

    Block* Resize(Block* block)
    {
        Check(block);
        const USize oldSize = block == nullptr ? 0 : block->size;
        const UInt64 pattern = block == nullptr ? 0 : block->pattern;
        const USize size = ChooseSize();
        if (block == nullptr) {
            return Make(size);
        }
        block = static_cast<Block*>(heap_.reallocate(block, size));
        block->size = std::min(size, oldSize);
        if (block->pattern != pattern) {
            ADD_FAILURE() << "contents lost";
        }
        Check(block);
        return Fill(block, size);
    }

    /// The filler of a block must be what its owner wrote: else two owners had it.
    static void Check(const Block* block)
    {
        if (block == nullptr) {
            return;
        }
        const auto* const bytes = reinterpret_cast<const unsigned char*>(block + 1);
        const USize count = block->size - sizeof(Block);
        const auto filler = static_cast<unsigned char>(block->pattern);
        if (count != 0 && (bytes[0] != filler || std::memcmp(bytes, bytes + 1, count - 1) != 0)) {
            ADD_FAILURE() << "a block of " << block->size << " was overwritten";
        }
    }

    static inline const BackEnd& heap_ = GetPooledHeap();
    std::mt19937_64 random_;
};

USize GetHeldBytes()
{
    const Pooled::HeapStatistics statistics = Pooled::GetHeapStatistics();
    return statistics.spanBytes + statistics.largeBytes + statistics.residentFreeBytes;
}

} // namespace

TEST(PooledHeapTorture, KeepsEveryBlockWholeAndGivesTheMemoryBack)
{
    Pooled::ReleaseFreeMemory();
    const USize heldBefore = GetHeldBytes();
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([i] {
            // A few generations, so that threads also end and begin while others work.
            for (int generation = 0; generation < 4; ++generation) {
                std::thread([=] {
                    Worker(static_cast<UInt64>(4 * i + generation))
                        .Run(GetOperationCount() / (4 * threadCount));
                }).join();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::atomic<Block*>& slot : exchange) {
        Worker::Destroy(slot.exchange(nullptr));
    }
    EXPECT_TRUE(GetPooledHeap().heapCheck());
    Pooled::ReleaseFreeMemory();
    EXPECT_LE(GetHeldBytes(), heldBefore);
}
