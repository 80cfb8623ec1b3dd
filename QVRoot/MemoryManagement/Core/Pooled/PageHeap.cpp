#include <QVRoot/MemoryManagement/Core/Pooled/PageHeapImpl.hpp>

#include <QVRoot/MemoryManagement/Core/Pooled/ArenaImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/PoisonImpl.hpp>
#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

#include <algorithm>
#include <bit>
#include <iterator>

namespace QV::Impl::Pooled {

namespace {

constinit PageHeap pageHeap;

/// The heap's size from which on it takes huge pages: less would be wasted on small programs.
constexpr USize leastSegmentsForHugePages = 2;

bool IsAbsent(const Segment& segment, UInt32 page) noexcept
{
    return (segment.absentBits[page / 64] >> (page % 64) & 1) != 0;
}

/// Marks a whole run as `Unused` but for its first and last page, which lead to it.
void DescribeRun(Span* run, UInt32 pages, SpanState state) noexcept
{
    run->state = state;
    run->pageCount = static_cast<UInt16>(pages);
    run->offset = 0;
    Span* const last = run + pages - 1;
    if (last != run) {
        last->state = SpanState::Unused;
        last->offset = static_cast<UInt16>(pages - 1);
    }
}

/// Calls `action(page, count)` for each stretch of pages of the run that are absent, or that are not.
/// Stops and answers false when `action` does.
template <class Action>
bool ForEachStretch(const Span* run, bool absent, Action action) noexcept
{
    const Segment& segment = GetSegment(run);
    const UInt32 end = GetPageIndex(run) + run->pageCount;
    for (UInt32 page = GetPageIndex(run); page < end;) {
        const UInt32 first = page;
        while (page < end && IsAbsent(segment, page) == absent) {
            ++page;
        }
        if (page != first && !action(first, page - first)) {
            return false;
        }
        page += page == first ? 1 : 0;
    }
    return true;
}

bool IsWhollyPresent(const Segment& segment) noexcept
{
    return std::all_of(std::begin(segment.absentBits), std::end(segment.absentBits),
                       [](UInt64 bits) { return bits == 0; });
}

void MarkStretch(Segment& segment, UInt32 first, UInt32 count, bool absent) noexcept
{
    for (UInt32 page = first; page < first + count; ++page) {
        const UInt64 bit = UInt64{1} << (page % 64);
        UInt64& bits = segment.absentBits[page / 64];
        bits = absent ? bits | bit : bits & ~bit;
    }
}

char* GetAddress(const Segment& segment, UInt32 page) noexcept
{
    return arena.GetAddress(arena.GetFirstPage(&segment) + page);
}

/// How many pages of the run have memory behind them.
UInt32 CountResident(const Span* run) noexcept
{
    const Segment& segment = GetSegment(run);
    const UInt32 first = GetPageIndex(run);
    const UInt32 end = first + run->pageCount;
    UInt32 absent = 0;
    for (UInt32 word = first / 64; word * 64 < end; ++word) {
        UInt64 bits = segment.absentBits[word];
        if (word == first / 64) {
            bits &= ~UInt64{0} << (first % 64);
        }
        if (end < (word + 1) * 64) {
            bits &= (UInt64{1} << (end % 64)) - 1;
        }
        absent += static_cast<UInt32>(std::popcount(bits));
    }
    return run->pageCount - absent;
}

} // namespace

PageHeap& GetPageHeap() noexcept
{
    return pageHeap;
}

Span* PageHeap::Allocate(UInt32 sizeClass) noexcept
{
    const UInt32 pages = classInfos[sizeClass].pagesPerSpan;
    const CriticalSectionGuard guard(lock_);
    if (filledBins_ >> (pages - 1) == 0 && !AddSegment()) {
        return nullptr;
    }
    const UInt32 bin = static_cast<UInt32>(std::countr_zero(filledBins_ >> (pages - 1))) + pages - 1;
    Span* const run = bins_[bin].GetFirst();
    const UInt64 freedAt = run->freedAt;
    const UInt32 rest = run->pageCount - pages;
    RemoveRun(run);
    DescribeRun(run, pages, SpanState::Taken);
    if (rest != 0) {
        DescribeRun(run + pages, rest, SpanState::Free);
        InsertRun(run + pages, freedAt);
    }
    if (!MakePresent(run)) {
        FreeSpan(run, freedAt);
        return nullptr;
    }
    arena.SetClassMark(arena.GetPage(run), pages, sizeClass + 1);
    for (UInt32 page = 1; page < pages; ++page) {
        run[page].state = SpanState::Unused;
        run[page].offset = static_cast<UInt16>(page);
    }
    run->sizeClass = static_cast<UInt8>(sizeClass);
    run->cutBlocks = 0;
    run->hasBlocks = false;
    takenPages_ += pages;
    GetSegment(run).takenPages = static_cast<UInt16>(GetSegment(run).takenPages + pages);
    retention_.NoteKept(residentFreePages_ * PageSize);
    return run;
}

bool PageHeap::MakePresent(Span* run) noexcept
{
    if (CountResident(run) == run->pageCount) [[likely]] {
        return true;
    }
    Segment& segment = GetSegment(run);
    const bool present = ForEachStretch(run, true, [this, &segment](UInt32 first, UInt32 count) {
        if (!VirtualMemory::Recommit(GetAddress(segment, first), count * PageSize)) {
            return false;
        }
        MarkStretch(segment, first, count, false);
        retention_.NoteRefilled(count * PageSize);
        return true;
    });
    if (!segment.hasHugePages && segmentCount_ > leastSegmentsForHugePages && IsWhollyPresent(segment)) {
        segment.hasHugePages = true;
        VirtualMemory::JoinPages(GetAddress(segment, 0), SegmentSize);
    }
    return present;
}

void PageHeap::Free(Span* chain) noexcept
{
    const UInt64 now = GetMilliseconds();
    const CriticalSectionGuard guard(lock_);
    while (chain != nullptr) {
        Span* const span = chain;
        chain = span->next;
        takenPages_ -= span->pageCount;
        Segment& segment = GetSegment(span);
        segment.takenPages = static_cast<UInt16>(segment.takenPages - span->pageCount);
        arena.SetClassMark(arena.GetPage(span), span->pageCount, 0);
        Unpoison(GetStart(span), span->pageCount * PageSize);
        FreeSpan(span, now);
    }
    Trim(now);
}

/// Joins a run that has just become free with its free neighbours.
void PageHeap::FreeSpan(Span* span, UInt64 now) noexcept
{
    UInt32 pages = span->pageCount;
    Span* const after = span + pages;
    if (GetPageIndex(span) + pages < PagesPerSegment && after->state == SpanState::Free) {
        pages += after->pageCount;
        RemoveRun(after);
        after->state = SpanState::Unused;
    }
    if (GetPageIndex(span) != 0) {
        Span* const before = (span - 1) - (span - 1)->offset;
        if (before->state == SpanState::Free) {
            pages += before->pageCount;
            RemoveRun(before);
            span->state = SpanState::Unused;
            span = before;
        }
    }
    DescribeRun(span, pages, SpanState::Free);
    InsertRun(span, now);
}

void PageHeap::InsertRun(Span* run, UInt64 now) noexcept
{
    const UInt32 bin = GetBin(run->pageCount);
    const UInt32 resident = CountResident(run);
    run->isAging = resident != 0;
    if (resident != 0) {
        bins_[bin].PushFront(run);
        residentFreePages_ += resident;
        StartAging(run, now);
    } else {
        bins_[bin].PushBack(run);
    }
    filledBins_ |= UInt64{1} << bin;
}

void PageHeap::RemoveRun(Span* run) noexcept
{
    const UInt32 bin = GetBin(run->pageCount);
    bins_[bin].Remove(run);
    if (bins_[bin].GetFirst() == nullptr) {
        filledBins_ &= ~(UInt64{1} << bin);
    }
    if (run->isAging) {
        residentFreePages_ -= CountResident(run);
        StopAging(run);
    }
}

void PageHeap::StartAging(Span* run, UInt64 now) noexcept
{
    run->freedAt = now;
    run->younger = nullptr;
    run->older = youngest_;
    (youngest_ != nullptr ? youngest_->younger : oldest_) = run;
    youngest_ = run;
}

void PageHeap::StopAging(Span* run) noexcept
{
    (run->younger != nullptr ? run->younger->older : youngest_) = run->older;
    (run->older != nullptr ? run->older->younger : oldest_) = run->younger;
}

void PageHeap::Trim(UInt64 now) noexcept
{
    // Large heaps keep more: a sixteenth of what is in use.
    const USize limit =
        std::max(retention_.Advance(now, residentFreePages_ * PageSize), takenPages_ * PageSize / 16);
    while (oldest_ != nullptr) {
        Span* const run = oldest_;
        if (residentFreePages_ * PageSize > limit) {
            PurgeRun(run);
        } else if (now - run->freedAt <= Retention::KeepMilliseconds) {
            break;
        } else if (IsWorthTearing(GetSegment(run))) {
            PurgeRun(run);
        } else { // wait until more of the segment is free
            StopAging(run);
            StartAging(run, now);
        }
    }
}

/// Whether pages may go back to the system one by one. Huge pages are given up once a quarter of the segment
/// would be gained.
bool PageHeap::IsWorthTearing(const Segment& segment) noexcept
{
    return !segment.hasHugePages || segment.takenPages <= PagesPerSegment / 4 * 3;
}

void PageHeap::Purge() noexcept
{
    const CriticalSectionGuard guard(lock_);
    while (oldest_ != nullptr) {
        PurgeRun(oldest_);
    }
    retention_ = Retention();
}

void PageHeap::PurgeRun(Span* run) noexcept
{
    Segment& segment = GetSegment(run);
    const UInt32 resident = CountResident(run);
    RemoveRun(run);
    retention_.NoteGivenBack(resident * PageSize);
    if (run->pageCount == PagesPerSegment && segmentCount_ > 1) {
        ReleaseSegment(&segment);
        return;
    }
    if (segment.hasHugePages) {
        // Else the system might join the pages again, and fill the gaps with memory.
        segment.hasHugePages = false;
        VirtualMemory::SetHugePages(GetAddress(segment, 0), SegmentSize, false);
    }
    ForEachStretch(run, false, [&segment](UInt32 first, UInt32 count) {
        VirtualMemory::Decommit(GetAddress(segment, first), count * PageSize);
        MarkStretch(segment, first, count, true);
        return true;
    });
    InsertRun(run, 0);
}

bool PageHeap::AddSegment() noexcept
{
    Segment* const segment = arena.TakeSegment();
    if (segment == nullptr) {
        return false;
    }
    segment->next = segments_;
    if (segments_ != nullptr) {
        segments_->previous = segment;
    }
    segments_ = segment;
    ++segmentCount_;
    segment->hasHugePages = segmentCount_ > leastSegmentsForHugePages;
    if (segment->hasHugePages) {
        VirtualMemory::SetHugePages(GetAddress(*segment, 0), SegmentSize, true);
    }
    MarkStretch(*segment, 0, PagesPerSegment, true);
    Span* const run = arena.GetSpanOfPage(arena.GetFirstPage(segment));
    DescribeRun(run, PagesPerSegment, SpanState::Free);
    InsertRun(run, 0);
    return true;
}

void PageHeap::ReleaseSegment(Segment* segment) noexcept
{
    (segment->previous != nullptr ? segment->previous->next : segments_) = segment->next;
    if (segment->next != nullptr) {
        segment->next->previous = segment->previous;
    }
    --segmentCount_;
    arena.ReturnSegment(segment);
}

PageHeapStatistics PageHeap::GetStatistics() noexcept
{
    const CriticalSectionGuard guard(lock_);
    return {segmentCount_ * SegmentSize, takenPages_ * PageSize, residentFreePages_ * PageSize};
}

bool PageHeap::CheckSpans(bool (*check)(Span* span)) noexcept
{
    const CriticalSectionGuard guard(lock_);
    for (const Segment* segment = segments_; segment != nullptr; segment = segment->next) {
        for (UInt32 page = 0; page < PagesPerSegment;) {
            Span* const span = arena.GetSpanOfPage(arena.GetFirstPage(segment) + page);
            if (span->pageCount == 0 || page + span->pageCount > PagesPerSegment ||
                span->state == SpanState::Unused) {
                return false;
            }
            if (span->state == SpanState::Taken && !check(span)) {
                return false;
            }
            page += span->pageCount;
        }
    }
    return true;
}

} // namespace QV::Impl::Pooled
