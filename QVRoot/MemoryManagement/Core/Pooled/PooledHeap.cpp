#include <QVRoot/MemoryManagement/Core/Pooled/PooledHeapImpl.hpp>

#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/CentralListImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/LargeBlocksImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/MetadataImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/PageHeapImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/SlowPathsImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/ThreadCacheImpl.hpp>

namespace QV::Impl {

namespace Pooled {
namespace {

void* Allocate(USize size)
{
    ThreadCache* const cache = ThreadCache::GetIfAny();
    if (size <= LookupLimit && cache != nullptr) [[likely]] {
        if (void* const block = cache->Pop(LookUpSizeClass(size))) [[likely]] {
            return block;
        }
    }
    return AllocateAnySize(size);
}

void Free(void* block)
{
    ThreadCache* const cache = ThreadCache::GetIfAny();
    if (cache == nullptr || !cache->Push(block)) [[unlikely]] {
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
