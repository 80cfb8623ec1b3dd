#include "Tests/String/CodePageDigests.hpp"

#include <QVRoot/String/CharCode.hpp>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace QV {
namespace {

using Units = std::u16string;

unsigned short* Raw(Units& units)
{
    return reinterpret_cast<unsigned short*>(units.data());
}

const unsigned short* Raw(const char16_t* units)
{
    return reinterpret_cast<const unsigned short*>(units);
}

Units Decode(std::string_view bytes, QVCharCode code)
{
    Units units(bytes.size() + 1, u'\xCCCC');
    const int length = static_cast<int>(bytes.size());
    const int count = CHANSI2Unicode(bytes.data(), length, Raw(units), length, code);
    EXPECT_EQ(CHANSI2Unicode(bytes.data(), length, nullptr, 0, code), count);
    EXPECT_EQ(units.back(), u'\xCCCC');
    units.resize(static_cast<size_t>(count));
    return units;
}

std::string Encode(std::u16string_view units, QVCharCode code, bool lossy)
{
    std::string bytes(units.size() * 3 + 1, '\xCC');
    const int length = static_cast<int>(units.size());
    const int room = static_cast<int>(bytes.size()) - 1;
    const int count = CHUnicode2ANSI(Raw(units.data()), length, bytes.data(), room, code, lossy);
    EXPECT_EQ(CHUnicode2ANSI(Raw(units.data()), length, nullptr, 0, code, lossy), count);
    EXPECT_EQ(bytes.back(), '\xCC');
    bytes.resize(static_cast<size_t>(count));
    return bytes;
}

TEST(CharCode, CodePagesAnswerAsWindowsDoes)
{
    for (const Testing::CodePageDigests& expected : Testing::codePageDigests) {
        const QVCharCode code = CHGetCharCode(expected.page);
        const Testing::CodePageDigests digests = Testing::DigestCodePage(
            expected.page, [code](std::string_view bytes) { return Decode(bytes, code); },
            [code](std::u16string_view units) { return Encode(units, code, true); },
            [code](std::u16string_view units) { return Encode(units, code, false); });
        EXPECT_EQ(digests.decoding, expected.decoding) << expected.page;
        EXPECT_EQ(digests.lossy, expected.lossy) << expected.page;
        EXPECT_EQ(digests.exact, expected.exact) << expected.page;
        EXPECT_EQ(digests.exactUnits, expected.exactUnits) << expected.page;
        EXPECT_EQ(digests.bestFits, expected.bestFits) << expected.page;
    }
}

TEST(CharCode, KnownTexts)
{
    EXPECT_EQ(Decode("\x80\xE9", WesternCharCode), u"\u20AC\u00E9");
    EXPECT_EQ(Decode("\xCF\xF0\xE8", CyrillicCharCode), u"\u041F\u0440\u0438");
    EXPECT_EQ(Decode("\x93\xFA\x96\x7B\xB1", JapaneseCharCode), u"\u65E5\u672C\uFF71");
    EXPECT_EQ(Encode(u"\u4E2D\u6587", SimplifiedChineseCharCode, false), "\xD6\xD0\xCE\xC4");
    EXPECT_EQ(Encode(u"\u4E2D\u6587", TraditionalChineseCharCode, false), "\xA4\xA4\xA4\xE5");
    EXPECT_EQ(Encode(u"\uD55C", KoreanCharCode, false), "\xC7\xD1");
    EXPECT_EQ(Decode("\x80", SymbolCharCode), u"\u20AC");
    EXPECT_EQ(Encode(u"z\u00DF\u6C34\U0001F30B", UTF8CharCode, false),
              "z\xC3\x9F\xE6\xB0\xB4\xF0\x9F\x8C\x8B");
}

TEST(CharCode, LossyOutputTakesASimilarCharacterOrTheDefault)
{
    EXPECT_EQ(Encode(u"\u0100\u4E00", WesternCharCode, true), "A?");
    EXPECT_EQ(Encode(u"\u0100", WesternCharCode, false), "");
    EXPECT_EQ(Encode(u"a\u4E00", WesternCharCode, false), "");
    EXPECT_EQ(Encode(u"?", WesternCharCode, false), "?");
}

TEST(CharCode, Utf8IsStrictWhateverIsAskedFor)
{
    EXPECT_EQ(Encode(u"a\xD800", UTF8CharCode, true), "");
    EXPECT_EQ(Decode("\xC3", UTF8CharCode), u"");
    EXPECT_EQ(Decode("\xED\xA0\x80", UTF8CharCode), u"");
}

TEST(CharCode, BadArgumentsGiveZero)
{
    unsigned short units[8];
    char bytes[8];
    for (const QVCharCode code : {WesternCharCode, JapaneseCharCode, UTF8CharCode}) {
        EXPECT_EQ(CHANSI2Unicode("abc", -2, units, 8, code), 0);
        EXPECT_EQ(CHANSI2Unicode("abc", 0, units, 8, code), 0);
        EXPECT_EQ(CHANSI2Unicode(nullptr, 3, units, 8, code), 0);
        EXPECT_EQ(CHANSI2Unicode("abc", 3, units, -1, code), 0);
        EXPECT_EQ(CHANSI2Unicode("abc", 3, nullptr, 8, code), 0);
        EXPECT_EQ(CHANSI2Unicode("abc", 3, units, 0, code), 0);
        EXPECT_EQ(CHANSI2Unicode("abc", 3, units, 2, code), 0);
        EXPECT_EQ(CHANSI2Unicode("abc", 3, units, 3, code), 3);
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"abc"), -2, bytes, 8, code, true), 0);
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"abc"), 0, bytes, 8, code, true), 0);
        EXPECT_EQ(CHUnicode2ANSI(nullptr, 3, bytes, 8, code, true), 0);
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"abc"), 3, bytes, -1, code, true), 0);
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"abc"), 3, nullptr, 8, code, true), 0);
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"abc"), 3, bytes, 0, code, true), 0);
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"abc"), 3, bytes, 2, code, true), 0);
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"abc"), 3, bytes, 3, code, true), 3);
    }
    EXPECT_EQ(CHUnicode2ANSI(Raw(u"\u65E5"), 1, bytes, 1, JapaneseCharCode, true), 0);
}

TEST(CharCode, ZeroTerminatedTextKeepsItsTerminator)
{
    for (const QVCharCode code : {WesternCharCode, KoreanCharCode, UTF8CharCode}) {
        unsigned short units[4] = {7, 7, 7, 7};
        EXPECT_EQ(CHANSI2Unicode("ab", -1, nullptr, 0, code), 3);
        EXPECT_EQ(CHANSI2Unicode("ab", -1, units, 4, code), 3);
        EXPECT_EQ(units[2], 0);
        EXPECT_EQ(units[3], 7);
        char bytes[4] = {7, 7, 7, 7};
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"ab"), -1, nullptr, 0, code, false), 3);
        EXPECT_EQ(CHUnicode2ANSI(Raw(u"ab"), -1, bytes, 4, code, false), 3);
        EXPECT_EQ(bytes[2], 0);
        EXPECT_EQ(bytes[3], 7);
    }
}

TEST(CharCode, SingleByteTest)
{
    for (const UInt32 code : {11U, 12U, 13U, 14U, 15U, 16U, 21U, 22U, 40U, 77U}) {
        EXPECT_TRUE(CHSingleByteCharacters(static_cast<QVCharCode>(code))) << code;
    }
    for (const UInt32 code : {0U, 31U, 32U, 33U, 34U, 35U, 99U, 100U}) {
        EXPECT_FALSE(CHSingleByteCharacters(static_cast<QVCharCode>(code))) << code;
    }
}

TEST(CharCode, PagesOfTheOperatingSystem)
{
    const struct {
        UInt32 code;
        UInt32 page;
    } pairs[] = {{11, 1252}, {12, 1250}, {13, 1257}, {14, 1251}, {15, 1253}, {16, 1254}, {21, 1255},
                 {22, 1256}, {31, 874},  {32, 932},  {33, 950},  {34, 936},  {35, 949},  {100, 1200}};
    for (const auto& [code, page] : pairs) {
        EXPECT_EQ(CHGetCodePage(static_cast<QVCharCode>(code)), page);
        EXPECT_EQ(CHGetCharCode(page), code);
    }
    EXPECT_EQ(CHGetCharCode(42), SymbolCharCode);
    EXPECT_EQ(CHGetCodePage(SymbolCharCode), 1252U);
    EXPECT_EQ(CHGetCharCode(437), SystemCharCode);
    EXPECT_EQ(CHGetCodePage(static_cast<QVCharCode>(77)), 0U);
}

TEST(CharCode, GuardsNestAndIgnoreZero)
{
    ASSERT_EQ(CHGetDefaultCharCode(), UTF8CharCode);
    {
        const DefaultCharCodeGuard western(WesternCharCode);
        EXPECT_EQ(Decode("\xE9", DefaultCharCode), u"\u00E9");
        EXPECT_EQ(Decode("\xE9", UTF16CharCode), u"\u00E9");
        {
            const DefaultCharCodeGuard nothing(DefaultCharCode);
            EXPECT_EQ(CHGetDefaultCharCode(), WesternCharCode);
            const DefaultCharCodeGuard utf8;
            EXPECT_EQ(CHGetDefaultCharCode(), UTF8CharCode);
        }
        EXPECT_EQ(CHGetDefaultCharCode(), WesternCharCode);
        CHSetDefaultCharCode(DefaultCharCode);
        EXPECT_EQ(CHGetDefaultCharCode(), WesternCharCode);
        CHSetDefaultCharCode(ThaiCharCode);
    }
    EXPECT_EQ(CHGetDefaultCharCode(), UTF8CharCode);
}

TEST(CharCode, DefaultStandingForAnotherIsResolvedForGood)
{
    const DefaultCharCodeGuard restore(WesternCharCode);
    CHSetLegacyCharCode(GreekCharCode);
    CHSetLegacyCharCode(LegacyCharCode); // ignored
    CHSetDefaultCharCode(LegacyCharCode);
    EXPECT_EQ(CHGetDefaultCharCode(), GreekCharCode);
    CHSetLegacyCharCode(TurkishCharCode);
    EXPECT_EQ(CHGetDefaultCharCode(), GreekCharCode);
    EXPECT_EQ(CHGetCodePage(LegacyCharCode), 1254U);
    CHSetDefaultCharCode(SystemCharCode);
    EXPECT_EQ(CHGetDefaultCharCode(), CHGetSystemCharCode());
    CHSetDefaultCharCode(UserCharCode);
    EXPECT_EQ(CHGetDefaultCharCode(), CHGetUserCharCode());
}

TEST(CharCode, LegacyIsResolvedThroughTheDefault)
{
    const DefaultCharCodeGuard restore(HebrewCharCode);
    CHSetLegacyCharCode(DefaultCharCode);
    EXPECT_EQ(CHGetLegacyCharCode(), HebrewCharCode);
    CHSetDefaultCharCode(ArabicCharCode);
    EXPECT_EQ(CHGetLegacyCharCode(), HebrewCharCode); // stored
    CHSetLegacyCharCode(SystemCharCode);
    EXPECT_EQ(CHGetLegacyCharCode(), CHGetSystemCharCode());
    // Each names the other: 4 stands as it is, and what was stored then answers 0.
    CHSetLegacyCharCode(DefaultCharCode);
    CHSetDefaultCharCode(LegacyCharCode);
    EXPECT_EQ(CHGetDefaultCharCode(), LegacyCharCode);
    EXPECT_EQ(CHGetLegacyCharCode(), LegacyCharCode);
    EXPECT_EQ(CHGetLegacyCharCode(), DefaultCharCode);
    CHSetDefaultCharCode(WesternCharCode);
    CHSetLegacyCharCode(DefaultCharCode);
}

/// Sets an environment variable for the programs that this one starts.
class EnvironmentGuard {
public:
    EnvironmentGuard(const std::string& name, const std::string& value) : name_(name)
    {
        const char* const old = std::getenv(name.c_str());
        old_ = old == nullptr ? "" : old;
        Set(value);
    }
    ~EnvironmentGuard() { Set(old_); }

private:
    void Set(const std::string& value)
    {
        static std::deque<std::string> assignments; // the environment keeps the text
        putenv(assignments.emplace_back(name_ + '=' + value).data());
    }

    std::string name_;
    std::string old_;
};

TEST(CharCodeDeathTest, DebugValueMakesTheGuardChooseTheLegacyPage)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // Several runs of this program may share the folder.
    const std::string path =
        (std::filesystem::temp_directory_path() / ("CharCodeTest." + std::to_string(std::random_device()())))
            .string();
    FILE* const file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fputs("[QUILLON]\nforceNonUTF8DefaultCharCode = true\n", file);
    std::fclose(file);
    const EnvironmentGuard environment("QVROOT_DEBUG_VALUES", path);
    EXPECT_EXIT(
        {
            CHSetLegacyCharCode(GreekCharCode);
            const DefaultCharCodeGuard guard;
            std::remove(path.c_str()); // the child makes a file of its own
            std::_Exit(CHGetDefaultCharCode() == GreekCharCode ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    std::remove(path.c_str());
}

} // namespace
} // namespace QV
