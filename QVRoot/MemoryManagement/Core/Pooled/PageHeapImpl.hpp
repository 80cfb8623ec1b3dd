/// The page heap: runs of pages for spans, cut from segments and joined again when they come back.
///
/// Free runs with memory behind them are kept up to the retention's limit and for a limited time; beyond
/// that the oldest go back to the system, and so do whole free segments.
#pragma once

#include <QVRoot/MemoryManagement/Core/Pooled/RetentionImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/SpanImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

namespace QV::Impl::Pooled {

struct PageHeapStatistics {
    USize segmentBytes;      ///< address space of all segments
    USize takenBytes;        ///< in spans
    USize residentFreeBytes; ///< in free runs that have memory behind them
};

class PageHeap {
public:
    constexpr PageHeap() noexcept = default;

    /// A span for blocks of a class, not yet cut into them, or null. Its contents are undefined.
    Span* Allocate(UInt32 sizeClass) noexcept;

    /// Takes back a chain of spans, linked by `next`.
    void Free(Span* chain) noexcept;

    /// Gives all free memory back to the system.
    void Purge() noexcept;

    PageHeapStatistics GetStatistics() noexcept;

    /// Calls `check` for every span that is not free, until it answers false. No span comes or goes
    /// meanwhile.
    bool CheckSpans(bool (*check)(Span* span)) noexcept;

private:
    static constexpr UInt32 BinCount = 64; ///< the last one is for all longer runs
    static_assert(LargestSpanPages < BinCount);

    static UInt32 GetBin(UInt32 pages) noexcept { return (pages < BinCount ? pages : BinCount) - 1; }

    static bool IsWorthTearing(const Segment& segment) noexcept;
    bool AddSegment() noexcept;
    void ReleaseSegment(Segment* segment) noexcept;
    void FreeSpan(Span* span, UInt64 now) noexcept;
    void Trim(UInt64 now) noexcept;
    void PurgeRun(Span* run) noexcept;
    bool MakePresent(Span* run) noexcept;

    void InsertRun(Span* run, UInt64 now) noexcept;
    void RemoveRun(Span* run) noexcept;
    void StartAging(Span* run, UInt64 now) noexcept;
    void StopAging(Span* run) noexcept;

    CriticalSection lock_;
    SpanList bins_[BinCount];
    UInt64 filledBins_ = 0; ///< one bit for each bin that is not empty
    Span* youngest_ = nullptr;
    Span* oldest_ = nullptr;
    Segment* segments_ = nullptr;
    USize segmentCount_ = 0;
    USize takenPages_ = 0;
    USize residentFreePages_ = 0;
    Retention retention_;
};

PageHeap& GetPageHeap() noexcept;

} // namespace QV::Impl::Pooled
