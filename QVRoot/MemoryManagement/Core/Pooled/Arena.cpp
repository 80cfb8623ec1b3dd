#include <QVRoot/MemoryManagement/Core/Pooled/ArenaImpl.hpp>

#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

namespace QV::Impl::Pooled {

constinit Arena arena;

namespace {

/// Address space costs nothing but itself; a process that may not have so much gets by with less.
constexpr USize mostBytes = USize{256} << 30;
constexpr USize leastBytes = 4 * SegmentSize;

} // namespace

bool Arena::Prepare() noexcept
{
    for (USize bytes = mostBytes; bytes >= leastBytes; bytes /= 2) {
        if (char* const memory = static_cast<char*>(VirtualMemory::Reserve(bytes, SegmentSize))) {
            // Where a pointer to the very beginning would have its tag, there must be something to read.
            char* const base = memory + SegmentSize;
            if (!VirtualMemory::Commit(base - VirtualMemory::GetPageSize(), VirtualMemory::GetPageSize())) {
                VirtualMemory::Release(memory, bytes);
                return false;
            }
            pageLimit_ = (bytes - SegmentSize) / PageSize;
            marks_.Reserve(pageLimit_);
            spans_.Reserve(pageLimit_);
            segments_.Reserve(pageLimit_ / PagesPerSegment);
            base_.store(base, std::memory_order_relaxed);
            return true;
        }
    }
    return false;
}

Segment* Arena::AddSegment() noexcept
{
    if (pageLimit_ == 0 && !Prepare()) {
        return nullptr;
    }
    const USize page = pageCount_.load(std::memory_order_relaxed);
    const USize end = page + PagesPerSegment;
    if (end > pageLimit_ || !marks_.Extend(end) || !spans_.Extend(end) ||
        !segments_.Extend(end / PagesPerSegment) || !VirtualMemory::Commit(GetAddress(page), SegmentSize)) {
        return nullptr;
    }
    pageCount_.store(end, std::memory_order_relaxed);
    return &segments_[page / PagesPerSegment];
}

Segment* Arena::TakeSegment() noexcept
{
    const CriticalSectionGuard guard(lock_);
    Segment* const segment = unused_;
    if (segment == nullptr) {
        return AddSegment();
    }
    if (!VirtualMemory::Recommit(GetAddress(GetFirstPage(segment)), SegmentSize)) {
        return nullptr;
    }
    unused_ = segment->next;
    *segment = Segment{};
    return segment;
}

void Arena::ReturnSegment(Segment* segment) noexcept
{
    const CriticalSectionGuard guard(lock_);
    VirtualMemory::Decommit(GetAddress(GetFirstPage(segment)), SegmentSize);
    segment->next = unused_;
    unused_ = segment;
}

void Arena::SetClassMark(USize page, USize count, UInt32 mark) noexcept
{
    for (USize i = 0; i < count; ++i) {
        marks_[page + i].store(static_cast<UInt8>(mark), std::memory_order_relaxed);
    }
}

} // namespace QV::Impl::Pooled
