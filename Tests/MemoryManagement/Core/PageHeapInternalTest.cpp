#include <QVRoot/MemoryManagement/Core/Pooled/ArenaImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/PageHeapImpl.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

using namespace QV;
using namespace QV::Impl;
using namespace QV::Impl::Pooled;

namespace {

USize GetBytes(const Span* span)
{
    return span->pageCount * PageSize;
}

/// A chain as the page heap takes it back.
Span* Link(const std::vector<Span*>& spans)
{
    Span* chain = nullptr;
    for (Span* const span : spans) {
        span->next = chain;
        chain = span;
    }
    return chain;
}

} // namespace

TEST(PageHeap, GivesSpansThatDoNotOverlapAndLeadBackFromEveryPage)
{
    PageHeap heap;
    std::mt19937 random(3);
    std::vector<Span*> spans;
    for (int round = 0; round < 20'000; ++round) {
        if (spans.size() < 300 || random() % 2 == 0) {
            const UInt32 sizeClass = random() % ClassCount;
            Span* const span = heap.Allocate(sizeClass);
            ASSERT_NE(span, nullptr);
            ASSERT_EQ(span->pageCount, classInfos[sizeClass].pagesPerSpan);
            for (USize offset = 0; offset < GetBytes(span); offset += PageSize) {
                ASSERT_EQ(GetSpan(GetStart(span) + offset + PageSize - 1), span);
                ASSERT_EQ(arena.GetClassMark(GetStart(span) + offset), sizeClass + 1);
            }
            std::memcpy(GetStart(span), &span, sizeof(span));
            std::memcpy(GetStart(span) + GetBytes(span) - sizeof(span), &span, sizeof(span));
            spans.push_back(span);
        } else {
            std::swap(spans[random() % spans.size()], spans.back());
            Span* const span = spans.back();
            ASSERT_EQ(std::memcmp(GetStart(span), &span, sizeof(span)), 0);
            ASSERT_EQ(std::memcmp(GetStart(span) + GetBytes(span) - sizeof(span), &span, sizeof(span)), 0);
            spans.pop_back();
            char* const start = GetStart(span);
            heap.Free(Link({span}));
            ASSERT_EQ(arena.GetClassMark(start), 0u);
        }
    }
    USize taken = 0;
    for (const Span* const span : spans) {
        taken += GetBytes(span);
    }
    EXPECT_EQ(heap.GetStatistics().takenBytes, taken);
    heap.Free(Link(spans));
    heap.Purge();
}

TEST(PageHeap, JoinsFreePagesAndGivesThemBack)
{
    PageHeap heap;
    std::vector<Span*> spans;
    while (heap.GetStatistics().segmentBytes < 8 * SegmentSize) {
        spans.push_back(heap.Allocate(0));
        std::memset(GetStart(spans.back()), 1, GetBytes(spans.back()));
    }
    std::shuffle(spans.begin(), spans.end(), std::mt19937(4));
    heap.Free(Link(spans));
    EXPECT_EQ(heap.GetStatistics().takenBytes, 0u);
    EXPECT_LE(heap.GetStatistics().residentFreeBytes, Retention::LeastBytes);

    // All pages of a segment are one run again: the largest spans find room without another segment.
    const USize before = heap.GetStatistics().segmentBytes;
    EXPECT_LT(before, 8 * SegmentSize);
    spans.clear();
    for (UInt32 i = 0; i < PagesPerSegment / LargestSpanPages; ++i) {
        spans.push_back(heap.Allocate(ClassCount - 1));
    }
    EXPECT_EQ(heap.GetStatistics().segmentBytes, before);
    heap.Free(Link(spans));
    heap.Purge();
    EXPECT_EQ(heap.GetStatistics().residentFreeBytes, 0u);
    EXPECT_EQ(heap.GetStatistics().segmentBytes, SegmentSize);
}

TEST(Retention, KeepsMoreForWavesAndLessAfterThem)
{
    constexpr USize wave = USize{20} << 20;
    Retention retention;
    UInt64 now = 5000;
    retention.Advance(now, 0);
    EXPECT_EQ(retention.GetLimit(), Retention::LeastBytes);

    retention.NoteRefilled(wave); // the first memory of all
    EXPECT_EQ(retention.GetLimit(), Retention::LeastBytes);

    retention.NoteGivenBack(wave);
    retention.NoteRefilled(wave);
    EXPECT_EQ(retention.GetLimit(), Retention::LeastBytes + wave);
    for (int i = 0; i < 10; ++i) {
        retention.NoteGivenBack(wave);
        retention.NoteRefilled(wave);
    }
    EXPECT_EQ(retention.GetLimit(), Retention::MostBytes);

    for (int second = 0; second < 5; ++second) { // everything kept is used once a second
        retention.NoteKept(0);
        retention.Advance(now += 1001, retention.GetLimit());
    }
    EXPECT_EQ(retention.GetLimit(), Retention::MostBytes);

    for (int second = 0; second < 20; ++second) { // nothing is
        retention.Advance(now += 1001, retention.GetLimit());
    }
    EXPECT_EQ(retention.GetLimit(), Retention::LeastBytes);
}
