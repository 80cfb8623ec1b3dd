// Every set of kernels that this processor has, against the reference.
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>
#include "Tests/Support/GuardedArray.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace QV::Impl {
namespace {

using Testing::GuardedArray;

constexpr USize maxUnits = 20000;

/// One direction of conversion, as the comparison sees it.
template <class SourceUnit, class TargetUnit>
struct Direction {
    using Source = SourceUnit;
    using Target = TargetUnit;
    int (*convert)(const TranscodeKernels&, const Source*, int, Target*, int, bool);
    int (*reference)(const Source*, int, Target*, int, bool) noexcept;
};

int ToUtf16(const TranscodeKernels& kernels, const char* source, int length, unsigned short* target, int room,
            bool strict)
{
    USize trouble = 0;
    return ConvertToUtf16(kernels, source, length, target, room, strict, trouble);
}

int ToUtf8(const TranscodeKernels& kernels, const unsigned short* source, int length, char* target, int room,
           bool strict)
{
    return ConvertToUtf8(kernels, source, length, target, room, strict);
}

const Direction<char, unsigned short> decoding = {ToUtf16, ReferenceUTF8ToUTF16};
const Direction<unsigned short, char> encoding = {ToUtf8, ReferenceUTF16ToUTF8};

template <class Dir>
class Comparison {
public:
    using Source = typename Dir::Source;
    using Target = typename Dir::Target;
    using Text = std::basic_string<Source>;

    Comparison(const Dir& direction, const TranscodeKernels& kernels)
        : direction_(direction), kernels_(kernels)
    {
    }

    /// Compares all modes; `everyRoom` also all destinations that are too small.
    void Check(const Text& text, bool everyRoom)
    {
        const int length = static_cast<int>(text.size());
        for (const bool strict : {true, false}) {
            strict_ = strict;
            // The text lies at the upper border, then at the lower one.
            source_ = std::copy(text.begin(), text.end(), sources_.GetEnd() - text.size()) - text.size();
            CheckRooms(length, everyRoom);
            source_ = sources_.GetBegin();
            std::copy(text.begin(), text.end(), sources_.GetBegin());
            CheckRoom(length, length * 3 + 1);
            if (length > 0) {
                source_ = sources_.GetEnd() - text.size() - 1;
                *std::copy(text.begin(), text.end(), source_) = 0;
                CheckRooms(-1, everyRoom);
            }
        }
        ASSERT_FALSE(testing::Test::HasFailure())
            << kernels_.name << " strict " << strict_ << ": " << Describe(text);
    }

private:
    void CheckRooms(int length, bool everyRoom)
    {
        const int count = direction_.reference(source_, length, nullptr, 0, strict_);
        EXPECT_EQ(direction_.convert(kernels_, source_, length, nullptr, 0, strict_), count) << "counting";
        const int most = count > 0 ? count : static_cast<int>(sources_.GetEnd() - source_) * 3;
        CheckRoom(length, most);
        CheckRoom(length, most + 1);
        CheckRoom(length, most + 200);
        const int step = everyRoom ? 1 : 1 + most / 7;
        for (int room = most - 1; room > 0; room -= step) {
            CheckRoom(length, room);
        }
    }

    void CheckRoom(int length, int room)
    {
        if (room < 1) {
            return;
        }
        expected_.assign(static_cast<USize>(room), canary);
        const int count = direction_.reference(source_, length, expected_.data(), room, strict_);
        Target* const target = targets_.GetEnd() - room;
        std::fill(target - 2, targets_.GetEnd(), canary);
        EXPECT_EQ(direction_.convert(kernels_, source_, length, target, room, strict_), count)
            << "room " << room;
        EXPECT_TRUE(target[-1] == canary && target[-2] == canary);
        if (count > 0) {
            EXPECT_TRUE(std::equal(expected_.begin(), expected_.end(), target)) << "room " << room;
        }
    }

    static std::string Describe(const Text& text)
    {
        std::string description;
        for (const Source unit : text) {
            char buffer[8];
            std::snprintf(buffer, sizeof(buffer), "%02X ", unit & (sizeof(Source) == 1 ? 0xFF : 0xFFFF));
            description += buffer;
        }
        return description;
    }

    static constexpr Target canary = static_cast<Target>(0x5A5A);

    const Dir& direction_;
    const TranscodeKernels& kernels_;
    GuardedArray<Source> sources_{maxUnits};
    GuardedArray<Target> targets_{maxUnits * 4};
    std::vector<Target> expected_;
    Source* source_ = nullptr;
    bool strict_ = false;
};

using Utf8Text = std::string;
using Utf16Text = std::basic_string<unsigned short>;

void Append(Utf8Text& text, UInt32 codePoint)
{
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
        return;
    }
    const int trailing = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    text += static_cast<char>((trailing == 1   ? 0xC0
                               : trailing == 2 ? 0xE0
                                               : 0xF0) |
                              codePoint >> 6 * trailing);
    for (int i = trailing - 1; i >= 0; --i) {
        text += static_cast<char>(0x80 | (codePoint >> 6 * i & 0x3F));
    }
}

void Append(Utf16Text& text, UInt32 codePoint)
{
    if (codePoint > 0xFFFF) {
        text += static_cast<unsigned short>(0xD7C0 + (codePoint >> 10));
        text += static_cast<unsigned short>(0xDC00 + (codePoint & 0x3FF));
        return;
    }
    text += static_cast<unsigned short>(codePoint);
}

/// Random texts: runs of similar characters, broken now and then when asked for.
class TextMaker {
public:
    UInt32 Below(UInt32 end) { return std::uniform_int_distribution<UInt32>(0, end - 1)(random_); }

    /// A code point from one of the ranges that differ in treatment; their borders are frequent.
    UInt32 MakeCodePoint(UInt32 range)
    {
        static constexpr UInt32 borders[] = {0, 0x80, 0x800, 0xD800, 0xE000, 0x10000, 0x10FFFF};
        const UInt32 first = borders[range];
        const UInt32 last = borders[range + 1] - 1;
        switch (Below(16)) {
        case 0:
            return first;
        case 1:
            return last;
        default:
            return first + Below(last - first + 1);
        }
    }

    template <class Text>
    Text Make(USize length, bool wellFormed)
    {
        static constexpr UInt32 plainRanges[] = {0, 1, 2, 4, 5};
        Text text;
        const UInt32 mainRange = plainRanges[Below(5)];
        const UInt32 foreign = 1 + Below(40);
        while (text.size() < length) {
            const UInt32 range = Below(foreign) == 0 ? plainRanges[Below(5)] : mainRange;
            Append(text, MakeCodePoint(range));
            if (!wellFormed && Below(64) == 0) {
                Break(text);
            }
        }
        return text;
    }

private:
    void Break(Utf8Text& text)
    {
        switch (Below(5)) {
        case 0:
            text += static_cast<char>(Below(256));
            break;
        case 1:
            Append(text, 0xD800 + Below(0x800));
            break;
        case 2:
            Append(text, 0x10FF00 + Below(0x200));
            break;
        case 3:
            text.pop_back();
            break;
        default:
            text[Below(static_cast<UInt32>(text.size()))] = static_cast<char>(Below(256));
            break;
        }
    }

    void Break(Utf16Text& text) { text += static_cast<unsigned short>(0xD800 + Below(0x800)); }

    std::mt19937 random_{20240229};
};

class TranscodeTest : public testing::TestWithParam<UInt32> {
protected:
    const TranscodeKernels& GetKernels() const
    {
        const TranscodeKernels* list[maxTranscodeKernels] = {};
        const UInt32 count = ListTranscodeKernels(list);
        return *list[std::min(GetParam(), count - 1)];
    }

    void SetUp() override
    {
        const TranscodeKernels* list[maxTranscodeKernels] = {};
        if (GetParam() >= ListTranscodeKernels(list)) {
            GTEST_SKIP() << "not on this processor";
        }
    }

    TextMaker maker_;
};

INSTANTIATE_TEST_SUITE_P(Kernels, TranscodeTest, testing::Range(0U, maxTranscodeKernels));

TEST_P(TranscodeTest, ConvertsWellFormedTextsOfEveryLength)
{
    Comparison decode(decoding, GetKernels());
    Comparison encode(encoding, GetKernels());
    for (USize length = 1; length < 300; ++length) {
        for (int repetition = 0; repetition < 3; ++repetition) {
            decode.Check(maker_.Make<Utf8Text>(length, true), length % 16 == 5);
            encode.Check(maker_.Make<Utf16Text>(length, true), length % 16 == 5);
        }
    }
    decode.Check(maker_.Make<Utf8Text>(maxUnits - 10, true), false);
    encode.Check(maker_.Make<Utf16Text>(maxUnits - 10, true), false);
}

TEST_P(TranscodeTest, FindsTheSameErrorsInBrokenTexts)
{
    Comparison decode(decoding, GetKernels());
    Comparison encode(encoding, GetKernels());
    for (int repetition = 0; repetition < 3000; ++repetition) {
        const USize length = 1 + maker_.Below(repetition % 8 == 0 ? 1000 : 200);
        decode.Check(maker_.Make<Utf8Text>(length, false), false);
        encode.Check(maker_.Make<Utf16Text>(length, false), false);
    }
}

/// Long texts of one kind, which take loops of their own, with one thing in them that ends the loop.
TEST_P(TranscodeTest, NoticesOneOddCharacterInMonotonousText)
{
    Comparison decode(decoding, GetKernels());
    Comparison encode(encoding, GetKernels());
    for (const UInt32 usual : {0x61, 0x416, 0x4E00, 0x1F600}) {
        for (const UInt32 odd : {0x62, 0xE9, 0x20AC, 0x1F680, 0xD800, 0x10FFFF}) {
            for (USize place = 0; place < 1100; place += 1 + maker_.Below(60)) {
                Utf8Text text;
                Utf16Text units;
                for (USize i = 0; i < 1100; ++i) {
                    Append(text, i == place ? odd : usual);
                    Append(units, i == place ? odd : usual);
                }
                decode.Check(text, false);
                encode.Check(units, false);
            }
        }
    }
}

TEST_P(TranscodeTest, CutsTextsLikeTheReference)
{
    Comparison decode(decoding, GetKernels());
    Comparison encode(encoding, GetKernels());
    for (int repetition = 0; repetition < 6; ++repetition) {
        Utf8Text text = maker_.Make<Utf8Text>(150, true);
        for (; !text.empty(); text.pop_back()) {
            decode.Check(text, false);
        }
        Utf16Text units = maker_.Make<Utf16Text>(80, true);
        for (; !units.empty(); units.pop_back()) {
            encode.Check(units, false);
        }
    }
}

/// Each pair of first bytes, completed as the lead asks, at places around the borders of vector registers.
TEST_P(TranscodeTest, JudgesAllPairsOfFirstBytes)
{
    Comparison decode(decoding, GetKernels());
    USize place = 0;
    for (int lead = 0x80; lead < 0x100; ++lead) {
        for (int second = 0; second < 0x100; ++second) {
            place = (place + 1) % 70;
            Utf8Text text(place, place % 2 == 0 ? 'a' : '\0');
            text += {static_cast<char>(lead), static_cast<char>(second)};
            text.append(lead >= 0xF0 ? "\xBF\xBF" : lead >= 0xE0 ? "\xBF" : "");
            text.append(place % 3 == 0 ? "" : "\xC3\xA4\xE2\x82\xAC ........ and some text behind it");
            decode.Check(text, false);
        }
    }
}

TEST_P(TranscodeTest, JudgesAllSurrogatePairsAtEveryPlace)
{
    Comparison encode(encoding, GetKernels());
    static constexpr unsigned short kinds[] = {'a',    0x7FF,  0x800,  0xD7FF, 0xD800,
                                               0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0};
    for (USize place = 0; place < 70; ++place) {
        for (const unsigned short first : kinds) {
            for (const unsigned short second : kinds) {
                Utf16Text text(place, place % 2 == 0 ? 'a' : 0x20AC);
                text += {first, second};
                encode.Check(text, false);
                text.append(40, 'b');
                encode.Check(text, false);
            }
        }
    }
}

TEST_P(TranscodeTest, ScansAndCopiesAscii)
{
    const TranscodeKernels& kernels = GetKernels();
    GuardedArray<char> bytes(1000);
    GuardedArray<unsigned short> units(1000);
    for (USize length = 0; length < 400; ++length) {
        char* const text = bytes.GetEnd() - length;
        unsigned short* const wide = units.GetEnd() - length;
        for (USize i = 0; i < length; ++i) {
            text[i] = static_cast<char>(maker_.Below(0x80));
        }
        wide[-1] = 0xCCCC;
        kernels.widen(text, length, wide);
        ASSERT_TRUE(std::equal(text, bytes.GetEnd(), wide) && wide[-1] == 0xCCCC) << length;
        ASSERT_TRUE(kernels.isAscii8(text, length) && kernels.isAscii16(wide, length)) << length;
        const std::string copy(text, length);
        std::fill(text - 1, bytes.GetEnd(), '\xCC');
        kernels.narrow(wide, length, text);
        ASSERT_TRUE(std::equal(copy.begin(), copy.end(), text) && text[-1] == '\xCC') << length;
        for (USize i = 0; i < length; ++i) {
            text[i] ^= '\x80';
            wide[i] ^= i % 2 == 0 ? 0x80 : 0x8000;
            ASSERT_FALSE(kernels.isAscii8(text, length) || kernels.isAscii16(wide, length))
                << length << ' ' << i;
            text[i] ^= '\x80';
            wide[i] ^= i % 2 == 0 ? 0x80 : 0x8000;
        }
        if (length > 0) {
            std::replace(wide, units.GetEnd(), 0, 1);
            units.GetEnd()[-1] = 0;
            ASSERT_EQ(kernels.length16(wide), length - 1);
        }
    }
}

} // namespace
} // namespace QV::Impl
