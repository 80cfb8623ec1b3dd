#include <QVRoot/MemoryManagement/Core/Pooled/SlowPathsImpl.hpp>

#include <QVRoot/MemoryManagement/Core/Pooled/DamagedBlockImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/LargeBlocksImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/ThreadCacheImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl::Pooled {

namespace {

/// Whether a block with a sound tag has the header of its class, with or without the flag.
bool HasHeaderOfClass(const void* block, UInt32 sizeClass, UInt64 header) noexcept
{
    if (sizeClass == LargeClass) {
        return LargeBlocks::IsLarge(block, header);
    }
    return sizeClass < ClassCount && IsOwnerInSegmentOf(GetTag(block), block) &&
           GetSegment(block)->classOfPage[FindPage(block)] == sizeClass &&
           (header & ~InUse) == classInfos[sizeClass].chunkSize;
}

/// The class of a block, or `LargeClass`. Ends the process when the block is not one in use.
UInt32 ValidateBlock(const void* block) noexcept
{
    const UInt32 sizeClass = GetTagClass(block);
    const UInt64 header = GetHeader(block);
    if (!HasHeaderOfClass(block, sizeClass, header)) [[unlikely]] {
        ReportDamagedBlock(block, BlockFault::DamagedHeader);
    }
    if ((header & InUse) == 0) [[unlikely]] {
        ReportDamagedBlock(block, BlockFault::FreedTwice);
    }
    return sizeClass;
}

/// A block for contents that are growing: with some room, so that growing byte by byte copies seldom.
void* AllocateForGrowth(USize size, USize oldSize) noexcept
{
    if (size > LargestPayload) {
        return GetLargeBlocks().Allocate(size, true);
    }
    constexpr USize modestSize = 4096;
    const USize roomy = std::min(oldSize + oldSize / (oldSize < modestSize ? 4 : 2), LargestPayload);
    void* const block = AllocateAnySize(std::max(size, roomy));
    return block != nullptr || size >= roomy ? block : AllocateAnySize(size);
}

} // namespace

void* AllocateAnySize(USize size) noexcept
{
    if (size > LargestPayload) {
        return GetLargeBlocks().Allocate(size, false);
    }
    const UInt32 sizeClass = ComputeSizeClass(size);
    ThreadCache* const cache = ThreadCache::GetIfAny();
    if (cache != nullptr) [[likely]] {
        if (void* const block = cache->Pop(sizeClass)) [[likely]] {
            return block;
        }
    }
    return ThreadCache::AllocateSlowly(sizeClass);
}

void FreeAnyBlock(void* block) noexcept
{
    const UInt32 sizeClass = ValidateBlock(block);
    if (sizeClass == LargeClass) {
        GetLargeBlocks().Free(block);
    } else {
        ThreadCache::FreeSlowly(sizeClass, block);
    }
}

void* ReallocateBlock(void* block, USize size) noexcept
{
    const UInt32 sizeClass = ValidateBlock(block);
    const USize oldSize = GetUsableSize(GetHeader(block));
    if (size <= oldSize && size >= oldSize / 2 && sizeClass != LargeClass) {
        return block;
    }
    if (sizeClass == LargeClass && size > LargestPayload) {
        if (void* const resized = GetLargeBlocks().Resize(block, size)) {
            return resized;
        }
    }
    void* const fresh = size > oldSize ? AllocateForGrowth(size, oldSize) : AllocateAnySize(size);
    if (fresh == nullptr) {
        return size <= oldSize ? block : nullptr;
    }
    std::memcpy(fresh, block, std::min(size, oldSize));
    FreeAnyBlock(block);
    return fresh;
}

USize GetBlockSize(const void* block) noexcept
{
    ValidateBlock(block);
    return GetUsableSize(GetHeader(block));
}

} // namespace QV::Impl::Pooled
