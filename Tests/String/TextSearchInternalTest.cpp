// Every set of search kernels that this processor has, against the plain one, at both ends of readable
// memory.
#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>
#include <QVRoot/String/Search/TextSearchImpl.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace QV::Impl {
namespace {

using Text = std::u16string;

UnitRange Units(const Text& text)
{
    return {reinterpret_cast<const UInt16*>(text.data()), static_cast<UInt32>(text.size())};
}

/// Memory between inaccessible pages. Texts are put at its end or its start.
class GuardedUnits {
public:
    GuardedUnits()
    {
        const USize page = VirtualMemory::GetPageSize();
        memory_ = static_cast<char*>(VirtualMemory::Reserve(3 * page));
        EXPECT_TRUE(VirtualMemory::Commit(memory_, 3 * page));
        EXPECT_TRUE(VirtualMemory::Protect(memory_, page));
        EXPECT_TRUE(VirtualMemory::Protect(memory_ + 2 * page, page));
        begin_ = reinterpret_cast<UInt16*>(memory_ + page);
        end_ = reinterpret_cast<UInt16*>(memory_ + 2 * page);
    }
    ~GuardedUnits() { VirtualMemory::Release(memory_, 3 * VirtualMemory::GetPageSize()); }

    UInt16* Put(const Text& text, bool atEnd)
    {
        UInt16* const place = atEnd ? end_ - text.size() : begin_;
        std::copy(text.begin(), text.end(), place);
        return place;
    }

private:
    char* memory_;
    UInt16* begin_;
    UInt16* end_;
};

Text MakeText(std::mt19937& random, USize length, int letters)
{
    Text text(length, u'\0');
    for (char16_t& unit : text) {
        unit = static_cast<char16_t>(u'`' + random() % static_cast<unsigned>(letters));
        if (random() % 50 == 0) {
            unit = static_cast<char16_t>(random());
        }
    }
    return text;
}

std::vector<UInt32> Collect(const SearchKernels& kernels, UnitRange text, UnitRange pattern, UInt32 room)
{
    std::vector<UInt32> all;
    std::vector<UInt32> positions(room);
    SearchBatch batch = {0, positions.data(), room, 0, 1 << 30};
    while (batch.next <= text.length - pattern.length) {
        kernels.collect(text, pattern, batch);
        all.insert(all.end(), positions.begin(), positions.begin() + batch.count);
    }
    return all;
}

void CompareKernels(const SearchKernels& kernels, UnitRange text, const FewUnits& set)
{
    const SearchKernels& plain = searchPortable;
    const UInt16 unit = set.units[0];
    ASSERT_EQ(kernels.findUnit(text, unit), plain.findUnit(text, unit));
    ASSERT_EQ(kernels.findLastUnit(text, unit), plain.findLastUnit(text, unit));
    ASSERT_EQ(kernels.countUnit(text, unit), plain.countUnit(text, unit));
    for (const bool member : {true, false}) {
        ASSERT_EQ(kernels.findIn(text, set, member), plain.findIn(text, set, member));
        ASSERT_EQ(kernels.findLastIn(text, set, member), plain.findLastIn(text, set, member));
    }
    UInt32 positions[7];
    SearchBatch batch = {0, positions, 7, 0, 0};
    for (UInt32 i = 0; batch.next < text.length;) {
        kernels.collectIn(text, set, batch);
        for (UInt32 k = 0; k < batch.count; ++k, ++i) {
            i += plain.findIn({text.units + i, text.length - i}, set, true);
            ASSERT_EQ(positions[k], i);
        }
    }
    std::vector<UInt16> replaced(text.units, text.units + text.length);
    std::vector<UInt16> expected = replaced;
    ASSERT_EQ(kernels.replaceUnit(replaced.data(), text.length, unit, 'X'),
              plain.replaceUnit(expected.data(), text.length, unit, 'X'));
    ASSERT_EQ(replaced, expected);
    const UInt32 mapped = kernels.mapAsciiCase(text, replaced.data(), 'a');
    plain.mapAsciiCase({text.units, mapped}, expected.data(), 'a');
    ASSERT_TRUE(std::equal(expected.begin(), expected.begin() + mapped, replaced.begin()));
    ASSERT_LE(plain.mapAsciiCase(text, expected.data(), 'a') - mapped, 32u);
}

TEST(TextSearch, KernelsAnswerAsThePlainOnes)
{
    const SearchKernels* list[maxSearchKernels];
    const UInt32 count = ListSearchKernels(list);
    GuardedUnits memory;
    std::mt19937 random(7);
    for (int round = 0; round < 6000; ++round) {
        const Text text = MakeText(random, random() % 300, 2 + round % 27);
        const UInt32 length = static_cast<UInt32>(text.size());
        const UnitRange units = {memory.Put(text, round % 2 == 0), length};
        FewUnits set = {static_cast<UInt32>(1 + random() % FewUnits::most), {}};
        for (UInt16& unit : set.units) {
            unit = static_cast<UInt16>('a' + random() % 6);
        }
        const UInt32 start = random() % (length + 1);
        const Text pattern = random() % 2 == 0 && length - start >= 2
                                 ? text.substr(start, 2 + random() % (length - start - 1))
                                 : MakeText(random, 2 + random() % 3, 2 + round % 27);
        for (UInt32 i = 0; i + 1 < count; ++i) {
            SCOPED_TRACE(list[i]->name);
            CompareKernels(*list[i], units, set);
            if (pattern.size() <= length) {
                ASSERT_EQ(Collect(*list[i], units, Units(pattern), 1 + round % 5),
                          Collect(searchPortable, units, Units(pattern), 1000));
                SearchBatch batch = {length - Units(pattern).length + 1, nullptr, 0, 0, 1 << 30};
                list[i]->findLast(units, Units(pattern), batch);
                ASSERT_EQ(batch.next, static_cast<UInt32>(text.rfind(pattern)));
            }
        }
    }
}

/// Texts of few letters and patterns cut from them, so that candidates fail late and searches change their
/// method on the way.
TEST(TextSearch, FindsPatternsThatFailLate)
{
    std::mt19937 random(11);
    for (int round = 0; round < 300; ++round) {
        const UInt32 period = 1 + random() % 5;
        Text text;
        while (text.size() < 6000) {
            text += MakeText(random, 1, 2) + Text(random() % 400, u'a');
            const Text repeated = MakeText(random, period, 2);
            for (UInt32 i = random() % 40; i > 0; --i) {
                text += repeated;
            }
        }
        Text pattern = text.substr(random() % 5000, 1 + random() % 300);
        if (round % 3 == 0) {
            pattern[random() % pattern.size()] = u'b';
        }
        std::vector<UInt32> expected;
        for (USize at = text.find(pattern); at != Text::npos; at = text.find(pattern, at + pattern.size())) {
            expected.push_back(static_cast<UInt32>(at));
        }
        std::vector<UInt32> found;
        Occurrences occurrences(Units(text), Units(pattern));
        while (occurrences.FindMore()) {
            found.insert(found.end(), occurrences.begin(), occurrences.end());
            ASSERT_EQ(occurrences.CountRest(), expected.size() - found.size());
        }
        ASSERT_EQ(found, expected);
        ASSERT_EQ(FindFirst(Units(text), Units(pattern)), static_cast<UInt32>(text.find(pattern)));
        ASSERT_EQ(FindLast(Units(text), Units(pattern)), static_cast<UInt32>(text.rfind(pattern)));
        ASSERT_EQ(TwoWaySearch<false>(Units(pattern)).Find(Units(text), 0),
                  FindFirst(Units(text), Units(pattern)));
    }
}

TEST(TextSearch, LargeSetsAnswerByMembership)
{
    std::mt19937 random(13);
    for (int round = 0; round < 2000; ++round) {
        const Text set = MakeText(random, random() % 40, 26) + (round % 2 == 0 ? u"\u4E2D" : u"");
        const Text text = MakeText(random, random() % 60, 30);
        const UnitSet prepared(Units(set));
        ASSERT_EQ(prepared.FindFirst(Units(text), true), static_cast<UInt32>(text.find_first_of(set)));
        ASSERT_EQ(prepared.FindFirst(Units(text), false), static_cast<UInt32>(text.find_first_not_of(set)));
        ASSERT_EQ(prepared.FindLast(Units(text), true), static_cast<UInt32>(text.find_last_of(set)));
        ASSERT_EQ(prepared.FindLast(Units(text), false), static_cast<UInt32>(text.find_last_not_of(set)));
    }
}

} // namespace
} // namespace QV::Impl
