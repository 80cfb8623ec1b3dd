#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Exceptions/QVException.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/String/Unicode.hpp>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace QV {
namespace {

using Units = std::u16string;

/// The result of a conversion together with what it wrote.
struct Decoded {
    int result;
    Units units;
};

Decoded Decode(std::string_view text, bool strict, int room = 100)
{
    std::vector<unsigned short> target(static_cast<size_t>(room) + 1, 0xCCCC);
    const int result =
        Unicode::UTF8ToUTF16(text.data(), static_cast<int>(text.size()), target.data(), room, strict);
    const int count = Unicode::UTF8ToUTF16(text.data(), static_cast<int>(text.size()), nullptr, 0, strict);
    EXPECT_TRUE(count == result || result == -1);
    EXPECT_EQ(target.back(), 0xCCCC);
    return {result, Units(target.begin(), target.begin() + (result > 0 ? result : 0))};
}

struct Encoded {
    int result;
    std::string bytes;
};

Encoded Encode(std::u16string_view text, bool strict, int room = 100)
{
    std::string target(static_cast<size_t>(room) + 1, '\xCC');
    const unsigned short* const source = reinterpret_cast<const unsigned short*>(text.data());
    const int result =
        Unicode::UTF16ToUTF8(source, static_cast<int>(text.size()), target.data(), room, strict);
    EXPECT_EQ(target.back(), '\xCC');
    return {result, target.substr(0, static_cast<size_t>(result > 0 ? result : 0))};
}

void ExpectDecoded(std::string_view text, bool strict, int result, const Units& units = {})
{
    const Decoded decoded = Decode(text, strict);
    EXPECT_EQ(decoded.result, result) << text;
    EXPECT_EQ(decoded.units, units) << text;
}

void ExpectEncoded(std::u16string_view text, bool strict, int result, const std::string& bytes = {})
{
    const Encoded encoded = Encode(text, strict);
    EXPECT_EQ(encoded.result, result);
    EXPECT_EQ(encoded.bytes, bytes);
}

TEST(Unicode, ConvertsSequencesOfEveryLength)
{
    const std::string text = "a\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBE";
    const Units units = u"a\x7F\x80\x7FF\x800\xFFFF\xD800\xDC00\xDBFF\xDFFE";
    for (const bool strict : {true, false}) {
        ExpectDecoded(text, strict, static_cast<int>(units.size()), units);
        ExpectEncoded(units, strict, static_cast<int>(text.size()), text);
    }
    const std::string withZero("a\0b", 3);
    ExpectDecoded(withZero, true, 3, Units(u"a\0b", 3));
    ExpectEncoded(std::u16string_view(u"a\0b", 3), true, 3, withZero);
}

TEST(Unicode, RefusesTheLastCodePointOnlyFromUtf8)
{
    ExpectDecoded("\xF4\x8F\xBF\xBF", true, -2);
    ExpectDecoded("\xF4\x8F\xBF\xBF", false, 1, u"\xFFFD");
    ExpectEncoded(u"\xDBFF\xDFFF", true, 4, "\xF4\x8F\xBF\xBF");
}

TEST(Unicode, RefusesEncodedSurrogatesOnlyStrictly)
{
    ExpectDecoded("\xED\xA0\x80", true, -2);
    ExpectDecoded("\xED\xA0\x80", false, 1, Units(1, 0xD800));
    ExpectDecoded("\xED\xBF\xBF", false, 1, Units(1, 0xDFFF));
    EXPECT_TRUE(Unicode::IsLegalUTF8("\xED\xA0\x80", 3));
}

TEST(Unicode, RefusesIllegalSequencesInBothModes)
{
    for (const char* text :
         {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC2\x41", "\xC2\xC2", "\xE0\x9F\xBF", "\xE1\x80\x41",
          "\xE1\x41\x80", "\xF0\x8F\xBF\xBF", "\xF1\x80\x80\x41", "\xF4\x90\x80\x80", "\xF4\x41\x80\x80",
          "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF", "\xFC\x41"}) {
        ExpectDecoded(text, true, -2);
        ExpectDecoded(text, false, -2);
        ExpectDecoded("some ASCII text in front of it, longer than a register: " + std::string(text), true,
                      -2);
    }
}

TEST(Unicode, ReportsAnEndInsideASequence)
{
    for (const char* text :
         {"\xE2\x82", "\xE2", "\xC3", "\xC0", "\xF0\x9F\x98", "\xF5", "\xE2\x41", "ab\xF0\x80"}) {
        ExpectDecoded(text, true, -3);
        unsigned short units[8];
        EXPECT_EQ(Unicode::UTF8ToUTF16(text, -1, units, 8, false), -3) << text;
    }
    EXPECT_EQ(Unicode::UTF8ToUTF16("\xE2\x82\xAC", 2, nullptr, 0, true), -3);
}

TEST(Unicode, TheFirstSequenceInTroubleDecides)
{
    EXPECT_EQ(Decode("abc\xFF", true, 2).result, -1);
    EXPECT_EQ(Decode("ab\xFF", true, 2).result, -2);
    EXPECT_EQ(Decode("ab\xC3", true, 2).result, -3);
    EXPECT_EQ(Decode("ab\xED\xA0\x80", true, 3).result, -2);
    // A full destination is noticed before a code point that is not allowed.
    unsigned short units[4];
    EXPECT_EQ(Unicode::UTF8ToUTF16("ab\xED\xA0\x80", 5, units, 2, true), -1);
    EXPECT_EQ(Unicode::UTF8ToUTF16("\xF0\x90\x80\x80", 4, units, 1, true), -1);
    EXPECT_EQ(Encode(u"ab\xD800"
                     "b",
                     true, 2)
                  .result,
              -2);
    EXPECT_EQ(Encode(u"abc\xD800", true, 2).result, -1);
    EXPECT_EQ(Encode(u"\x20AC", true, 2).result, -1);
}

TEST(Unicode, ConvertsAndCountsTheTerminator)
{
    unsigned short units[4] = {9, 9, 9, 9};
    EXPECT_EQ(Unicode::UTF8ToUTF16("ab", -1, units, 3, true), 3);
    EXPECT_EQ(Units(units, units + 4), Units(u"ab\0\x9", 4));
    EXPECT_EQ(Unicode::UTF8ToUTF16("ab", -1, units, 2, true), -1);
    EXPECT_EQ(Unicode::UTF8ToUTF16("ab", -1, nullptr, 0, true), 3);
    EXPECT_EQ(Unicode::UTF8ToUTF16("", -1, units, 4, true), 1);

    const unsigned short source[] = {'a', 0xE4, 0};
    char bytes[5] = "xxxx";
    EXPECT_EQ(Unicode::UTF16ToUTF8(source, -1, bytes, 4, true), 4);
    EXPECT_STREQ(bytes, "a\xC3\xA4");
    EXPECT_EQ(Unicode::UTF16ToUTF8(source, -1, bytes, 3, true), -1);
    EXPECT_EQ(Unicode::UTF16ToUTF8(source, -1, nullptr, 0, true), 4);
    EXPECT_EQ(Unicode::UTF16ToUTF8(source + 2, -1, bytes, 4, true), 1);
}

TEST(Unicode, TakesUnusableArgumentsAsEmptyOrFull)
{
    unsigned short units[2];
    EXPECT_EQ(Unicode::UTF8ToUTF16("a", 0, units, 2, true), 0);
    EXPECT_EQ(Unicode::UTF8ToUTF16("a", -2, units, 2, true), 0);
    EXPECT_EQ(Unicode::UTF8ToUTF16(nullptr, -1, units, 2, true), 0);
    EXPECT_EQ(Unicode::UTF8ToUTF16("a", 1, units, -1, true), -1);
    EXPECT_EQ(Unicode::UTF8ToUTF16("a", 1, nullptr, 1, true), -1);
    EXPECT_EQ(Unicode::UTF16ToUTF8(nullptr, 1, nullptr, 0, true), 0);
    EXPECT_EQ(Unicode::UTF16ToUTF8(units, 0, nullptr, 0, true), 0);
    EXPECT_TRUE(Unicode::ConversionError::HasError(0));
    EXPECT_FALSE(Unicode::ConversionError::IsSuccessful(0));
    EXPECT_TRUE(Unicode::ConversionError::IsSuccessful(1));
}

TEST(Unicode, JudgesUnpairedSurrogates)
{
    ExpectEncoded(u"\xD800"
                  "A",
                  true, -2);
    ExpectEncoded(u"\xD800"
                  "A",
                  false, 3, "\xED\xA0\x80");
    ExpectEncoded(u"\xD800\xD801\xDC00", false, 6, "\xED\xA0\x80\xED\xB0\x80");
    ExpectEncoded(u"x\xD800", true, -3);
    ExpectEncoded(u"x\xD800", false, 4, "x\xED\xA0\x80");
    ExpectEncoded(std::u16string_view(u"\xD800\0", 2), true, -2);
    ExpectEncoded(std::u16string_view(u"\xD800\0", 2), false, 3, "\xED\xA0\x80");
    for (const bool strict : {true, false}) {
        ExpectEncoded(u"\xDC00", strict, 3, "\xED\xB0\x80");
    }
    // Zero-terminated, the terminator is what stands behind the surrogate, and is never swallowed.
    const unsigned short source[] = {0xD800, 0, 'x', 0};
    char bytes[8] = {};
    EXPECT_EQ(Unicode::UTF16ToUTF8(source, -1, bytes, 8, true), -2);
    EXPECT_EQ(Unicode::UTF16ToUTF8(source, -1, bytes, 8, false), 4);
    EXPECT_STREQ(bytes, "\xED\xA0\x80");
}

TEST(Unicode, TheSystemConvertsTheSameTexts)
{
    const std::string text = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    unsigned short units[8];
    char bytes[16];
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16(text.data(), 10, units, 8, true), 5);
    EXPECT_EQ(Units(units, units + 5), u"a\xE4\x20AC\xD83D\xDE00");
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16(text.data(), 10, nullptr, 0, true), 5);
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16(text.data(), 10, units, 4, true), -1);
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16(text.data(), -1, units, 5, true), -1);
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16(text.data(), -1, units, 6, true), 6);
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16("a\xFF"
                                      "b",
                                      3, units, 8, true),
              -2);
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16("a\xFF"
                                      "b",
                                      3, units, 8, false),
              3);
    EXPECT_EQ(units[1], 0xFFFD);
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16("", 0, units, 8, true), 0);
    EXPECT_EQ(Unicode::OS_UTF8ToUTF16(text.data(), -1, units, 8, true), 6);
    EXPECT_EQ(Unicode::OS_UTF16ToUTF8(units, 5, bytes, 16, true), 10);
    EXPECT_EQ(std::string(bytes, 10), text);
    EXPECT_EQ(Unicode::OS_UTF16ToUTF8(units, -1, nullptr, 0, true), 11);
    EXPECT_EQ(Unicode::OS_UTF16ToUTF8(units, 4, bytes, 16, true), -2);
    EXPECT_EQ(Unicode::OS_UTF16ToUTF8(units, 5, bytes, 9, true), -1);
}

std::vector<std::string> reports;

/// Leaves with a text for the log when a condition does not hold; runs in a process of its own.
void Require(bool condition, const char* text)
{
    if (!condition) {
        std::fprintf(stderr, "%s\n", text);
        std::exit(1);
    }
}

void CheckReports()
{
    ErrorReporting::SetSink([](const ErrorReport& report) { reports.emplace_back(report.text); });
    Unicode::UTF8ToUTF16("\xED\xA0\x80", 3, nullptr, 0, true);
    Unicode::UTF8ToUTF16("\xFF", 1, nullptr, 0, true);
    Unicode::UTF8ToUTF16("\xE2\x82", 2, nullptr, 0, true);
    Require(reports.empty(), "code points, impossible leads and cut sequences are not reported");

    Unicode::UTF8ToUTF16("a\xC3\xA4\xC0\x80zz", 7, nullptr, 0, false);
    Require(reports.size() == 1, "one report");
    Require(reports[0].starts_with("UTF8 Assertion failed at String/Unicode "), "start");
    Require(reports[0].ends_with(" - Data: 0x61 0xffffffc3 0xffffffa4 0xffffffc0 0xffffff80"), "data");
    const std::string longText(100000, 'a');
    Unicode::UTF8ToUTF16((longText + "\x80").c_str(), -1, nullptr, 0, true);
    Require(reports[1].size() < 4096 && reports[1].ends_with(" 0x61 0x61"), "long data is cut");
    for (int i = 0; i < 30; ++i) {
        Unicode::UTF8ToUTF16("\x80", 1, nullptr, 0, true);
    }
    Require(reports.size() == 20, "20 reports in all");
    Require(reports[18].ends_with(" - Data: 0xffffff80"), "19 in full");
    Require(reports[19] == "More UTF8Assertion... (not logged)", "the last one");
    std::exit(0);
}

TEST(UnicodeDeathTest, ReportsTwentyIllegalSequencesPerProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(CheckReports(), testing::ExitedWithCode(0), "");
}

} // namespace
TEST(Unicode, AConversionObjectHoldsItsResult)
{
    using Unicode::ConvertUTF8ToUTF16;
    const auto unitsOf = [](const std::string& text, int length) {
        const ConvertUTF8ToUTF16 converted(text.c_str(), length);
        return UniString(static_cast<const unsigned short*>(converted));
    };
    EXPECT_EQ(unitsOf("a\xC3\xA4", -1), u"a\u00E4");
    EXPECT_EQ(unitsOf("abc", 2), u"ab");
    EXPECT_EQ(unitsOf("abc", 0), u"");
    EXPECT_EQ(unitsOf("", -1), u"");
    EXPECT_EQ(unitsOf(std::string(259, 'x'), -1).GetLength(), 259u);
    EXPECT_EQ(unitsOf(std::string(5000, 'x'), -1).GetLength(), 5000u);
    EXPECT_EQ(static_cast<const unsigned short*>(ConvertUTF8ToUTF16(nullptr, 5)), nullptr);
    for (const std::string& illegal :
         {std::string("\xFF"), std::string(400, '\x80'), std::string("a\xED\xA0\x80")}) {
        try {
            unitsOf(illegal, -1);
            ADD_FAILURE();
        } catch (const QVException& e) {
            EXPECT_EQ(e.GetMessage(), u"QV::Unicode::ConvertUTF8ToUTF16: Conversion Error! ErrorCode:");
            EXPECT_STREQ(e.GetFileName(), "String/Unicode");
        }
    }
}

} // namespace QV
