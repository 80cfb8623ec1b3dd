/// The block sizes of the pooled heap: steps of 16 bytes up to 256, then eight steps to each doubling up to
/// 256 KB, so that no more than an eighth of a block is unused.
///
/// The steps count payload bytes, so that the common powers of two fit without a gap; a chunk is 16 bytes
/// larger than its payload.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <array>
#include <bit>

namespace QV::Impl::Pooled {

inline constexpr USize ChunkOverhead = 16;
inline constexpr USize PageSize = 8192; ///< the heap's own unit, not the processor's

inline constexpr UInt32 FineClasses = 16;
inline constexpr USize FineLimit = 256;
inline constexpr UInt32 Doublings = 10;
inline constexpr UInt32 ClassCount = FineClasses + 8 * Doublings;
inline constexpr USize LargestPayload = FineLimit << Doublings;

/// What stands for the class of a block that has a reservation of its own.
inline constexpr UInt32 LargeClass = 127;
static_assert(ClassCount <= LargeClass);

constexpr USize GetClassPayload(UInt32 sizeClass) noexcept
{
    if (sizeClass < FineClasses) {
        return 16 * (sizeClass + 1);
    }
    const UInt32 doubling = (sizeClass - FineClasses) / 8;
    const UInt32 step = (sizeClass - FineClasses) % 8 + 1;
    const USize base = FineLimit << doubling;
    return base + step * (base / 8);
}

/// The class for a size that is not above `LargestPayload`, computed.
constexpr UInt32 ComputeSizeClass(USize size) noexcept
{
    if (size <= FineLimit) {
        return size == 0 ? 0 : static_cast<UInt32>((size - 1) / 16);
    }
    const UInt32 top = static_cast<UInt32>(std::bit_width(size - 1)) - 1;
    const UInt32 step = static_cast<UInt32>((size - 1) >> (top - 3)) & 7;
    return FineClasses + 8 * (top - 8) + step;
}

/// Sizes up to here are looked up.
inline constexpr USize LookupLimit = 1024;

inline constexpr auto classOfSmallSize = [] {
    std::array<UInt8, LookupLimit / 16 + 1> classes{};
    for (USize i = 0; i < classes.size(); ++i) {
        classes[i] = static_cast<UInt8>(ComputeSizeClass(i * 16));
    }
    return classes;
}();

inline UInt32 LookUpSizeClass(USize size) noexcept
{
    return classOfSmallSize[(size + 15) / 16];
}

struct ClassInfo {
    UInt64 reciprocal; ///< 2^40 / chunkSize, rounded up
    UInt32 chunkSize;
    UInt16 pagesPerSpan;
    UInt16 blocksPerSpan;
    UInt16 magazineCapacity; ///< blocks that move between a thread and the central list at once
    UInt16 depotLimit;       ///< full magazines that the central list keeps
};

inline constexpr UInt32 MaxBlocksPerSpan = 256;
inline constexpr UInt32 MaxMagazineCapacity = 61;

/// The smallest span that leaves no more than a sixteenth unused, or else the best one: small spans come
/// back whole more often.
constexpr UInt16 ChoosePagesPerSpan(USize chunkSize) noexcept
{
    constexpr USize mostPages = 16;
    if (chunkSize > mostPages * PageSize / 4) {
        return static_cast<UInt16>((chunkSize + PageSize - 1) / PageSize);
    }
    USize best = 0;
    USize bestWaste = PageSize;
    for (USize pages = (chunkSize + PageSize - 1) / PageSize; pages <= mostPages; ++pages) {
        const USize waste = pages * PageSize % chunkSize / pages;
        if (waste < bestWaste) {
            best = pages;
            bestWaste = waste;
        }
        if (waste <= PageSize / 16) {
            break;
        }
    }
    return static_cast<UInt16>(best);
}

constexpr ClassInfo MakeClassInfo(UInt32 sizeClass) noexcept
{
    constexpr USize magazineBytes = 16 * 1024;
    constexpr USize depotBytes = 64 * 1024;
    const USize chunkSize = GetClassPayload(sizeClass) + ChunkOverhead;
    const USize pages = ChoosePagesPerSpan(chunkSize);
    const USize blocks = pages * PageSize / chunkSize;
    USize capacity = magazineBytes / chunkSize;
    capacity = capacity < 1 ? 1 : capacity > MaxMagazineCapacity ? MaxMagazineCapacity : capacity;
    const USize kept = depotBytes / (capacity * chunkSize);
    return {((USize{1} << 40) + chunkSize - 1) / chunkSize,
            static_cast<UInt32>(chunkSize),
            static_cast<UInt16>(pages),
            static_cast<UInt16>(blocks < MaxBlocksPerSpan ? blocks : MaxBlocksPerSpan),
            static_cast<UInt16>(capacity),
            static_cast<UInt16>(kept)};
}

inline constexpr auto classInfos = [] {
    std::array<ClassInfo, ClassCount> infos{};
    for (UInt32 i = 0; i < ClassCount; ++i) {
        infos[i] = MakeClassInfo(i);
    }
    return infos;
}();

inline constexpr UInt32 LargestSpanPages = classInfos[ClassCount - 1].pagesPerSpan;

/// The number of the block that holds the byte `offset` bytes into a span: a division without dividing.
constexpr UInt32 GetBlockIndex(const ClassInfo& info, USize offset) noexcept
{
    return static_cast<UInt32>((offset * info.reciprocal) >> 40);
}

} // namespace QV::Impl::Pooled
