#include <QVRoot/MemoryManagement/Core/BackEndChoiceImpl.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryStatistics.hpp>

#include <atomic>

namespace QV {

namespace {

using Counter = std::atomic<UInt64>;

constinit const Impl::BackEnd* below = nullptr;
constinit Counter allocations = 0;
constinit Counter frees = 0;
constinit Counter liveBytes = 0;
constinit Counter peakBytes = 0;

void RaisePeak(UInt64 bytes) noexcept
{
    UInt64 peak = peakBytes.load(std::memory_order_relaxed);
    while (bytes > peak && !peakBytes.compare_exchange_weak(peak, bytes, std::memory_order_relaxed)) {
    }
}

/// `change` is negative, modulo 2^64, when bytes were given back.
void ChangeLiveBytes(UInt64 change) noexcept
{
    RaisePeak(liveBytes.fetch_add(change, std::memory_order_relaxed) + change);
}

void* CountingAllocate(USize size) noexcept
{
    void* const block = below->allocate(size);
    if (block != nullptr) {
        allocations.fetch_add(1, std::memory_order_relaxed);
        ChangeLiveBytes(below->msize(block));
    }
    return block;
}

void* CountingReallocate(void* block, USize size) noexcept
{
    const USize oldSize = below->msize(block);
    void* const resized = below->reallocate(block, size);
    if (resized != nullptr) {
        ChangeLiveBytes(below->msize(resized) - oldSize);
    }
    return resized;
}

void CountingFree(void* block) noexcept
{
    if (block != nullptr) {
        liveBytes.fetch_sub(below->msize(block), std::memory_order_relaxed);
        // Releases what the block's allocation counted, so that `Get` never sees more frees than allocations.
        frees.fetch_add(1, std::memory_order_release);
    }
    below->free(block);
}

} // namespace

bool MemoryStatistics::IsEnabled() noexcept
{
    Impl::GetBackEnd();
    return below != nullptr;
}

MemoryCounts MemoryStatistics::Get() noexcept
{
    MemoryCounts counts;
    counts.frees = frees.load(std::memory_order_acquire);
    counts.allocations = allocations.load(std::memory_order_relaxed);
    counts.liveBlocks = counts.allocations - counts.frees;
    counts.liveBytes = liveBytes.load(std::memory_order_relaxed);
    counts.peakBytes = peakBytes.load(std::memory_order_relaxed);
    return counts;
}

const Impl::BackEnd& Impl::AddStatistics(const BackEnd& heap) noexcept
{
    static constinit BackEnd layer = {
        CountingAllocate,
        CountingReallocate,
        CountingFree,
        [](void* block) { return below->msize(block); },
        [] { return below->heapCheck(); },
        nullptr,
    };
    below = &heap;
    layer.name = heap.name;
    return layer;
}

} // namespace QV
