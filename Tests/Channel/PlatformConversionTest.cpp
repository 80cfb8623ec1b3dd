#include <QVRoot/BasicEnvironment/QVTime.hpp>
#include <QVRoot/Channel/PlatformConversion.hpp>

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <string>

namespace QV {

namespace {

constexpr PlatformSign signs[] = {MacPlatformSign,     MacIntelPlatformSign, WinPlatformSign,
                                  WinLikePlatformSign, PlatformSign(0),      PlatformSign(0x4D4D4D4D)};
constexpr QVCharCode mappedCodes[] = {WesternCharCode,  CentralEuropeanCharCode, BalticCharCode,
                                      CyrillicCharCode, GreekCharCode,           TurkishCharCode,
                                      HebrewCharCode,   ArabicCharCode};

/// Which of the pairs swap, written out.
bool Swaps(PlatformSign from, PlatformSign to)
{
    if (from == MacPlatformSign) {
        return to == WinPlatformSign || to == WinLikePlatformSign || to == MacIntelPlatformSign;
    }
    return to == MacPlatformSign;
}

/// Bytes of which the first elements, from the second byte on, are reversed.
std::string Reverse(std::string bytes, USize size, USize count)
{
    for (USize i = 0; i < count; ++i) {
        std::reverse(bytes.begin() + 1 + i * size, bytes.begin() + 1 + (i + 1) * size);
    }
    return bytes;
}

/// Both forms of a function for one value and of that for many, at an odd address.
template <class Element>
void CheckElement(void (*one)(PlatformSign, PlatformSign, Element*) noexcept,
                  void (*oneHere)(PlatformSign, Element*) noexcept,
                  void (*many)(PlatformSign, PlatformSign, Element*, int) noexcept,
                  void (*manyHere)(PlatformSign, Element*, int) noexcept)
{
    std::string bytes(1 + sizeof(Element) * 37, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    const auto expect = [&](USize count, auto convert) {
        std::string converted = bytes;
        void* const data = converted.data() + 1;
        convert(static_cast<Element*>(data));
        EXPECT_EQ(converted, Reverse(bytes, sizeof(Element), count));
    };
    for (const PlatformSign from : signs) {
        const UInt32 here = from == MacPlatformSign;
        expect(here, [&](Element* p) { oneHere(from, p); });
        expect(37 * here, [&](Element* p) { manyHere(from, p, 37); });
        expect(0, [&](Element* p) { manyHere(from, p, -1); });
        for (const PlatformSign to : signs) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            const UInt32 swaps = Swaps(from, to);
            expect(swaps, [&](Element* p) { one(from, to, p); });
            expect(9 * swaps, [&](Element* p) { many(from, to, p, 9); });
            expect(0, [&](Element* p) { many(from, to, p, 0); });
            expect(0, [&](Element* p) { many(from, to, p, -1); });
        }
    }
}

std::string AllBytes()
{
    std::string bytes;
    for (int byte = 255; byte > 0; --byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::string Translated(PlatformSign from, std::string text, QVCharCode code, PlatformSign to)
{
    IVChars(from, text.data(), static_cast<int>(text.size()), code, to);
    return text;
}

/// The rewriting as the header words it.
std::string Rewritten(const std::string& text, EOLType eol)
{
    const std::string lineEnds[] = {"\r", "\n", "\r\n"};
    std::string result;
    for (USize i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' || text[i] == '\n') {
            i += text.compare(i, 2, "\r\n") == 0;
            result += lineEnds[eol];
        } else {
            result += text[i];
        }
    }
    return result;
}

void CheckLineEnds(const std::string& text, EOLType eol)
{
    const std::string expected = Rewritten(text, eol);
    const int length = static_cast<int>(text.size());
    const int size = static_cast<int>(expected.size());
    EXPECT_EQ(IVEndofLine(text.data(), length, nullptr, 0, eol), size);
    std::string room(expected.size() + 1, '#');
    if (size > 1) {
        EXPECT_EQ(IVEndofLine(text.data(), length, room.data(), size - 1, eol), 0);
        EXPECT_EQ(room, std::string(room.size(), '#')) << "too small: nothing is written";
    }
    EXPECT_EQ(IVEndofLine(text.data(), length, room.data(), size + 1, eol), size);
    EXPECT_EQ(room, expected + '#') << "nothing behind the end";
}

} // namespace

TEST(PlatformConversion, SwapsEveryTypeWhereTheSignsAskForIt)
{
    CheckElement<bool>(IVBool, IVBool, IVBools, IVBools);
    CheckElement<Int8>(IVSByte, IVSByte, IVSBytes, IVSBytes);
    CheckElement<UInt8>(IVUByte, IVUByte, IVUBytes, IVUBytes);
    CheckElement<Int16>(IVShort, IVShort, IVShorts, IVShorts);
    CheckElement<UInt16>(IVUShort, IVUShort, IVUShorts, IVUShorts);
    CheckElement<Int32>(IVLong, IVLong, IVLongs, IVLongs);
    CheckElement<UInt32>(IVULong, IVULong, IVULongs, IVULongs);
    CheckElement<float>(IVFloat, IVFloat, IVFloats, IVFloats);
    CheckElement<Int64>(IVInt64, IVInt64, IVInt64s, IVInt64s);
    CheckElement<UInt64>(IVUInt64, IVUInt64, IVUInt64s, IVUInt64s);
    CheckElement<double>(IVDouble, IVDouble, IVDoubles, IVDoubles);

    UInt16 units[] = {0x0102, 0x0304, 0x0506};
    IVUString(MacPlatformSign, units, 0);
    IVUString(WinPlatformSign, units, 3);
    IVUString(MacPlatformSign, WinPlatformSign, units, 2);
    EXPECT_EQ(units[0], 0x0201);
    EXPECT_EQ(units[2], 0x0506);
    IVUString(MacPlatformSign, units + 2, 1);
    EXPECT_EQ(units[2], 0x0605);
}

TEST(PlatformConversion, TranslatesLettersAndComesBack)
{
    const auto toWin = [](const char* text, QVCharCode code) {
        return Translated(MacPlatformSign, text, code, WinPlatformSign);
    };
    EXPECT_EQ(toWin("caf\x8E \xD2\x80\xD3", WesternCharCode), "caf\xE9 \x93\xC4\x94");
    EXPECT_EQ(toWin("\x88\xEC\xE4", CentralEuropeanCharCode), "\xB9\x9E\x9A");
    EXPECT_EQ(toWin("\x80\xE0\xDF", CyrillicCharCode), "\xC0\xE0\xFF");
    EXPECT_EQ(toWin("\xE1\xF6", GreekCharCode), "\xE1\xF9");
    EXPECT_EQ(toWin("\xDB\xDD", TurkishCharCode), "\xF0\xFD");
    EXPECT_EQ(toWin("\xE0\xFA", HebrewCharCode), "\xE0\xFA");
    EXPECT_EQ(toWin("\xC7\xCA", ArabicCharCode), "\xC7\xCA");
    EXPECT_EQ(toWin("\x98\xAF", BalticCharCode), "\xEB\xC1");
    const std::string all = AllBytes();
    for (const QVCharCode code : mappedCodes) {
        const std::string there = Translated(MacPlatformSign, all, code, WinPlatformSign);
        EXPECT_NE(there, all);
        EXPECT_EQ(there.substr(128), all.substr(128)) << "ASCII";
        EXPECT_EQ(Translated(WinPlatformSign, there, code, MacIntelPlatformSign), all);
    }
    for (const QVCharCode code :
         {ThaiCharCode, JapaneseCharCode, SymbolCharCode, UTF8CharCode, UTF16CharCode, QVCharCode(5000)}) {
        EXPECT_EQ(Translated(MacPlatformSign, all, code, WinPlatformSign), all);
    }
}

TEST(PlatformConversion, TranslatesOnlyBetweenTheTwoGroupsAndNotToWinLike)
{
    const std::string text = "\xC4\x8E";
    for (const PlatformSign from : signs) {
        for (const PlatformSign to : signs) {
            const bool fromMac = from == MacPlatformSign || from == MacIntelPlatformSign;
            const bool toMac = to == MacPlatformSign || to == MacIntelPlatformSign;
            const bool fromWin = from == WinPlatformSign || from == WinLikePlatformSign;
            const bool translates = (fromMac && to == WinPlatformSign) || (fromWin && toMac);
            EXPECT_EQ(Translated(from, text, WesternCharCode, to) != text, translates)
                << from << " to " << to;
        }
    }
}

TEST(PlatformConversion, KnowsWhereATextEndsAndWhatItsCodeStandsFor)
{
    char text[] = "\x8E\x8E\0\x8E";
    IVChars(MacPlatformSign, text, 0, WesternCharCode, WinPlatformSign);
    IVChars(MacPlatformSign, text, -2, WesternCharCode, WinPlatformSign);
    EXPECT_EQ(text[0], '\x8E');
    IVChars(MacPlatformSign, text, 1, WesternCharCode, WinPlatformSign);
    EXPECT_EQ(std::string(text, 4), std::string("\xE9\x8E\0\x8E", 4));
    IVCString(MacPlatformSign, text + 1, WesternCharCode, WinPlatformSign);
    EXPECT_EQ(std::string(text, 4), std::string("\xE9\xE9\0\x8E", 4));

    unsigned char counted[] = {2, 0x8E, 0x8E, 0x8E};
    IVPString(MacPlatformSign, counted, WesternCharCode, WinPlatformSign);
    EXPECT_EQ(std::string(counted, counted + 4), "\x02\xE9\xE9\x8E");
    counted[0] = 0;
    IVPString(WinPlatformSign, counted, WesternCharCode, MacPlatformSign);
    EXPECT_EQ(counted[1], 0xE9);

    EXPECT_EQ(Translated(MacPlatformSign, "\x8E", DefaultCharCode, WinPlatformSign), "\x8E") << "UTF-8";
    const DefaultCharCodeGuard guard(WesternCharCode);
    EXPECT_EQ(Translated(MacPlatformSign, "\x8E", DefaultCharCode, WinPlatformSign), "\xE9");
    const QVCharCode legacy = CHGetLegacyCharCode();
    CHSetLegacyCharCode(CyrillicCharCode);
    EXPECT_EQ(Translated(MacPlatformSign, "\x80", LegacyCharCode, WinPlatformSign), "\xC0");
    CHSetLegacyCharCode(legacy);
}

TEST(PlatformConversion, RewritesLineEnds)
{
    const std::string texts[] = {"a\r\nb",
                                 "a\nb",
                                 "",
                                 "\r",
                                 "\n",
                                 "\r\n",
                                 "\n\r",
                                 "\r\r\n\n",
                                 "a\r",
                                 "plain",
                                 std::string("a\0\r\0", 4)};
    for (const EOLType eol : {EOLCR, EOLLF, EOLCRLF}) {
        for (const std::string& text : texts) {
            CheckLineEnds(text, eol);
        }
        for (USize front = 0; front < 140; ++front) { // a pair on every border
            CheckLineEnds(std::string(front, 'x') + "\r\ny\r" + std::string(front * 2, 'z') + "\n", eol);
        }
    }
}

TEST(PlatformConversion, RefusesLineEndsWithoutASensePlaceOrRoom)
{
    char text[] = "a\nb";
    char room[8] = "#######";
    EXPECT_EQ(IVEndofLine(nullptr, 3, room, 8, EOLLF), 0);
    EXPECT_EQ(IVEndofLine(text, 3, text, 4, EOLLF), 0);
    EXPECT_EQ(IVEndofLine(text, 3, nullptr, 8, EOLLF), 0);
    EXPECT_EQ(IVEndofLine(text, -2, room, 8, EOLLF), 0);
    EXPECT_EQ(IVEndofLine(text, 3, room, -8, EOLLF), 0);
    EXPECT_EQ(IVEndofLine(text, 3, room, 8, EOLType(3)), 0);
    EXPECT_STREQ(room, "#######");
    EXPECT_EQ(IVEndofLine(text, 3, room, 0, EOLCRLF), 4) << "only the size";
    EXPECT_STREQ(room, "#######");
    EXPECT_EQ(IVEndofLine(text, -1, room, 8, EOLCRLF), 5) << "with the zero";
    EXPECT_EQ(std::string(room, 6), std::string("a\r\nb\0#", 6));
}

TEST(PlatformConversion, ReadsTimesOfTheOldMac)
{
    unsigned int macTime = 0;
    ASSERT_EQ(TIQV2MacTime(1'000'000'000, &macTime), NoError);
    int time = static_cast<int>(macTime);
    for (const PlatformSign sign :
         {WinPlatformSign, WinLikePlatformSign, MacIntelPlatformSign, PlatformSign(0)}) {
        int value = time;
        IVPlatformTime(sign, &value);
        EXPECT_EQ(value, 1'000'000'000);
    }
    IVLong(MacPlatformSign, &time);
    IVPlatformTime(MacPlatformSign, &time);
    EXPECT_EQ(time, 1'000'000'000);
    time = 0;
    IVPlatformTime(MacPlatformSign, &time);
    EXPECT_EQ(time, 0);
    time = -1; // in the year 2040
    IVPlatformTime(WinPlatformSign, &time);
    EXPECT_EQ(time, 0);
}

} // namespace QV
