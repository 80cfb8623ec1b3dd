/// The address space of the pooled heap: one reservation, divided into segments, with dense tables beside it.
///
/// What a free needs to know of a block is found from its address alone, in a table of one byte per page. The
/// block itself may be far away, and a pointer that is no block at all need not be followed to be told apart.
#pragma once

#include <QVRoot/MemoryManagement/Core/Pooled/SpanImpl.hpp>
#include <QVRoot/MemoryManagement/Core/ReservedArrayImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <atomic>

namespace QV::Impl::Pooled {

class Arena {
public:
    constexpr Arena() noexcept = default;

    /// The page that an address lies in. A large number for addresses outside.
    USize FindPage(const void* address) const noexcept
    {
        const char* const base = base_.load(std::memory_order_relaxed);
        return (reinterpret_cast<USize>(address) - reinterpret_cast<USize>(base)) / PageSize;
    }

    /// One more than the class of the span that an address lies in; 0 for addresses that lie in none.
    USize GetClassMark(const void* address) const noexcept
    {
        const USize page = FindPage(address);
        if (page >= pageCount_.load(std::memory_order_relaxed)) [[unlikely]] {
            return 0;
        }
        return marks_[page].load(std::memory_order_relaxed);
    }
    void SetClassMark(USize page, USize count, UInt32 mark) noexcept;

    Span* GetSpanOfPage(USize page) noexcept { return &spans_[page]; }
    Segment& GetSegmentOfPage(USize page) noexcept { return segments_[page / PagesPerSegment]; }

    USize GetPage(const Span* span) const noexcept { return static_cast<USize>(span - &spans_[0]); }
    USize GetFirstPage(const Segment* segment) const noexcept
    {
        return static_cast<USize>(segment - &segments_[0]) * PagesPerSegment;
    }
    char* GetAddress(USize page) const noexcept
    {
        return base_.load(std::memory_order_relaxed) + page * PageSize;
    }

    /// A segment whose pages all are committed and read as zero, or null. Its record is as new.
    Segment* TakeSegment() noexcept;

    /// Takes back a segment and the memory behind it.
    void ReturnSegment(Segment* segment) noexcept;

private:
    bool Prepare() noexcept;
    Segment* AddSegment() noexcept;

    std::atomic<char*> base_ = nullptr;
    std::atomic<USize> pageCount_ = 0; ///< pages of the segments made so far
    ReservedArray<std::atomic<UInt8>> marks_;
    ReservedArray<Span> spans_;
    ReservedArray<Segment> segments_;

    CriticalSection lock_;
    USize pageLimit_ = 0;
    Segment* unused_ = nullptr;
};

extern constinit Arena arena;

inline char* GetStart(const Span* span) noexcept
{
    return arena.GetAddress(arena.GetPage(span));
}

/// The span that holds an address of the arena.
inline Span* GetSpan(const void* address) noexcept
{
    Span* const page = arena.GetSpanOfPage(arena.FindPage(address));
    return page - page->offset;
}

inline Segment& GetSegment(const Span* span) noexcept
{
    return arena.GetSegmentOfPage(arena.GetPage(span));
}

/// Where in its segment a span begins.
inline UInt32 GetPageIndex(const Span* span) noexcept
{
    return static_cast<UInt32>(arena.GetPage(span) % PagesPerSegment);
}

} // namespace QV::Impl::Pooled
