/// The blocks of one class that no thread holds: full magazines, ready to be passed on whole, and below them
/// the spans that still have blocks.
#pragma once

#include <QVRoot/MemoryManagement/Core/Pooled/MagazineImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/SpanImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

namespace QV::Impl::Pooled {

class alignas(64) CentralList {
public:
    /// A magazine with at least one block, in exchange for an empty one (or for null): a full one where there
    /// is one, else one filled with `wanted` blocks from spans. Null when memory is exhausted; the caller
    /// keeps the empty one then.
    Magazine* ExchangeEmpty(UInt32 sizeClass, Magazine* empty, UInt32 wanted) noexcept;

    /// An empty magazine in exchange for one with blocks (or for null). Null only when nothing was given and
    /// memory is exhausted.
    Magazine* ExchangeFull(UInt32 sizeClass, Magazine* full) noexcept;

    /// Takes a magazine that is no longer needed, and the blocks that it holds.
    void Retire(UInt32 sizeClass, Magazine* magazine) noexcept;

    /// Single blocks, for threads without a cache.
    void* AllocateOne(UInt32 sizeClass) noexcept;
    void FreeOne(UInt32 sizeClass, void* block) noexcept;

    /// Returns the blocks of all full magazines to their spans.
    void Flush(UInt32 sizeClass) noexcept;

    /// Whether the span's blocks have sound tags and headers.
    bool CheckSpan(const Span* span) noexcept;

private:
    Magazine* TakeEmpty() noexcept;
    UInt32 TakeBlocks(UInt32 sizeClass, void** blocks, UInt32 wanted) noexcept;
    UInt32 TakeBlocksOfSpan(Span* span, void** blocks, UInt32 wanted) noexcept;
    UInt32 TakeBlocksOfNewSpan(UInt32 sizeClass, void** blocks, UInt32 wanted) noexcept;
    Span* Empty(UInt32 sizeClass, Magazine* magazine, Span* whole) noexcept;
    Span* ReturnSomeMagazines(UInt32 sizeClass, Span* whole) noexcept;
    Span* ReturnBlocks(UInt32 sizeClass, void** blocks, USize count, Span* whole) noexcept;

    SpinLock lock_;
    MagazineStack full_;
    MagazineStack empty_;
    UInt32 exchanges_ = 0;
    SpanList partial_; ///< spans that have free blocks
};

CentralList& GetCentralList(UInt32 sizeClass) noexcept;

} // namespace QV::Impl::Pooled
