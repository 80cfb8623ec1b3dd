#include <QVRoot/MemoryManagement/Core/Pooled/PooledHeapImpl.hpp>

#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/CentralListImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/FastPathsImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/LargeBlocksImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/MetadataImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/PageHeapImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/SlowPathsImpl.hpp>

namespace QV::Impl {

namespace Pooled {
namespace {

void* Allocate(USize size)
{
    void* const block = TryAllocate(size);
    return block != nullptr ? block : AllocateAnySize(size);
}

void Free(void* block)
{
    if (!TryFree(block)) [[unlikely]] {
        FreeAnyBlock(block);
    }
}

void* Reallocate(void* block, USize size)
{
    return ReallocateBlock(block, size);
}

USize MSize(void* block)
{
    return GetBlockSize(block);
}

bool CheckHeap()
{
    const auto checkSpan = [](Span* span) { return GetCentralList(span->sizeClass).CheckSpan(span); };
    return GetPageHeap().CheckSpans(checkSpan) && GetLargeBlocks().Check();
}

constinit const BackEnd pooledHeap = {Allocate, Reallocate, Free, MSize, CheckHeap, "NEDMalloc"};

} // namespace

HeapStatistics GetHeapStatistics() noexcept
{
    const PageHeapStatistics pages = GetPageHeap().GetStatistics();
    const LargeBlockStatistics large = GetLargeBlocks().GetStatistics();
    return {pages.segmentBytes, pages.takenBytes, large.usedBytes,
            pages.residentFreeBytes + large.retainedBytes, GetMetadataBytes()};
}

void ReleaseFreeMemory() noexcept
{
    ThreadCache::FlushCurrent();
    for (UInt32 sizeClass = 0; sizeClass < ClassCount; ++sizeClass) {
        GetCentralList(sizeClass).Flush(sizeClass);
    }
    GetPageHeap().Purge();
    GetLargeBlocks().Purge();
}

} // namespace Pooled

const BackEnd& GetPooledHeap() noexcept
{
    return Pooled::pooledHeap;
}

} // namespace QV::Impl
