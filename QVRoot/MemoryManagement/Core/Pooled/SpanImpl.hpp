/// Segments, and the spans of pages that they are divided into.
///
/// A segment is 4 MB, aligned to its size. There is a `Span` for each page of the arena: that of a run's
/// first page describes the run, the others only lead back to it. So a block's span is found from the block's
/// address alone.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>
#include <QVRoot/MemoryManagement/Core/Pooled/SizeClassesImpl.hpp>

namespace QV::Impl::Pooled {

inline constexpr USize SegmentSize = USize{4} << 20;
inline constexpr UInt32 PagesPerSegment = SegmentSize / PageSize;

enum class SpanState : UInt8 {
    Unused, ///< not the first page of anything
    Free,   ///< in the page heap
    Taken,  ///< handed out for the blocks of a class
};

struct alignas(64) Span {
    Span* next; ///< in a list of the page heap or of a central list
    Span* previous;
    SpanState state;
    UInt8 sizeClass;
    UInt16 offset; ///< how many pages the run began before this page
    UInt16 pageCount;
    UInt16 freeBlocks;
    union {
        UInt64 freedAt; ///< free runs: when the youngest part was freed, in milliseconds
        struct {
            UInt16 cutBlocks; ///< blocks: those numbered below have their tag and header
            bool hasBlocks;   ///< whether the central list has cut it; guarded by that list's lock
        };
    };
    union {
        UInt64 freeBits[MaxBlocksPerSpan / 64]; ///< blocks: one bit for each that lies in the span
        struct {
            Span* younger; ///< free runs with resident pages, by age
            Span* older;
            bool isAging; ///< whether it is in that list
        };
    };
};
static_assert(sizeof(Span) == 64);

struct Segment {
    Segment* next;
    Segment* previous;
    UInt64 absentBits[PagesPerSegment / 64]; ///< free pages that have no memory behind them
    UInt16 takenPages;
    bool hasHugePages; ///< whether the system was asked for them and none was torn since
};

/// A list through the spans' links. Zero-initialised it is empty.
class SpanList {
public:
    Span* GetFirst() const noexcept { return first_; }

    void PushFront(Span* span) noexcept
    {
        span->previous = nullptr;
        span->next = first_;
        (first_ != nullptr ? first_->previous : last_) = span;
        first_ = span;
    }
    void PushBack(Span* span) noexcept
    {
        span->next = nullptr;
        span->previous = last_;
        (last_ != nullptr ? last_->next : first_) = span;
        last_ = span;
    }
    void Remove(Span* span) noexcept
    {
        (span->previous != nullptr ? span->previous->next : first_) = span->next;
        (span->next != nullptr ? span->next->previous : last_) = span->previous;
    }

private:
    Span* first_ = nullptr;
    Span* last_ = nullptr;
};

} // namespace QV::Impl::Pooled
