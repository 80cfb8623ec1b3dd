#include <QVRoot/MemoryManagement/Core/Pooled/SlowPathsImpl.hpp>

#include <QVRoot/MemoryManagement/Core/Pooled/DamagedBlockImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/LargeBlocksImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/ThreadCacheImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl::Pooled {

namespace {

/// Ends the process when the words of a block of the class are not those of one in use.
void ValidateWords(const void* block, UInt32 sizeClass) noexcept
{
    const UInt64 header = GetHeader(block);
    const UInt64 chunkSize = classInfos[sizeClass].chunkSize;
    if (reinterpret_cast<UInt64>(block) % 16 == 0 && GetTag(block) == MakeTag(block)) {
        if (header == (chunkSize | InUse)) [[likely]] {
            return;
        }
        if (header == chunkSize) {
            ReportDamagedBlock(block, BlockFault::FreedTwice);
        }
    }
    ReportDamagedBlock(block, BlockFault::DamagedHeader);
}

/// The class of a block, or `LargeClass`. Ends the process when the block is not one in use.
UInt32 ValidateBlock(const void* block) noexcept
{
    const auto mark = static_cast<UInt32>(arena.GetClassMark(block));
    if (mark == 0) {
        GetLargeBlocks().Validate(block);
        return LargeClass;
    }
    ValidateWords(block, mark - 1);
    return mark - 1;
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
    void* const block = ThreadCache::AllocateSlowly(sizeClass);
    // Without pages in the arena, there may still be room elsewhere.
    return block != nullptr ? block : GetLargeBlocks().Allocate(size, false);
}

void FreeAnyBlock(void* block) noexcept
{
    if (block == nullptr) {
        return;
    }
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
