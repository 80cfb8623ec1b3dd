#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/Utf8Text.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace QV {
namespace {

int Sign(int order)
{
    return (order > 0) - (order < 0);
}

std::string Lower(const char* text, QVCharCode code)
{
    char result[64];
    CHtoLower(text, result, sizeof(result), code);
    return result;
}

std::string Upper(const char* text, QVCharCode code)
{
    char result[64];
    CHtoUpper(text, result, sizeof(result), code);
    return result;
}

TEST(CharText, SecondBytesAreNotTakenForCharacters)
{
    // KATAKANA SO is 83 5C, whose second byte is a backslash; 83 61 ends in an 'a'.
    const char* const path = "\x83\\\x83\x61\\x\\y";
    EXPECT_EQ(CHSearchCharLeft(path, '\\', JapaneseCharCode), path + 4);
    EXPECT_EQ(CHSearchCharLeft(path, '\\', WesternCharCode), path + 1);
    EXPECT_EQ(CHSearchCharRight(path, '\\', JapaneseCharCode), path + 6);
    EXPECT_EQ(CHSearchCharRight("\x83\\", '\\', JapaneseCharCode), nullptr);
    EXPECT_EQ(CHSearchSubstring(path, "a\\", CaseSensitiveType, JapaneseCharCode), nullptr);
    EXPECT_EQ(CHSearchSubstring(path, "a\\", CaseSensitiveType, WesternCharCode), path + 3);
    EXPECT_EQ(CHSearchCharLeft(path, "\x83\x61...", JapaneseCharCode), path + 2);
    EXPECT_EQ(CHSearchCharRight(path, "\x83\x61", JapaneseCharCode), path + 2);
    char text[] = "\x83\x61 a";
    EXPECT_EQ(CHtoUpperASCII(text, JapaneseCharCode), 4);
    EXPECT_STREQ(text, "\x83\x61 A");
    const char* end = nullptr;
    EXPECT_EQ(CHGetNextLine("\x81\n", &end, nullptr, KoreanCharCode), nullptr);
}

TEST(CharText, Utf8PartsBeginAndEndBetweenCharacters)
{
    const char* const text = "\xE2\x82\xAC\x82\xACx\xC3";
    EXPECT_EQ(CHSearchSubstring(text, "\x82\xAC", CaseSensitiveType, UTF8CharCode), text + 3);
    EXPECT_EQ(CHSearchSubstring("\xE2\x82\xAC", "\xE2\x82", CaseSensitiveType, UTF8CharCode), nullptr);
    EXPECT_EQ(CHSearchSubstring("\xE2\x82\xAC", "\xE2", CaseInsensitiveType, UTF8CharCode), nullptr);
    EXPECT_EQ(CHSearchCharLeft(text, '\x82', UTF8CharCode), text + 3);
    EXPECT_EQ(CHSearchCharRight(text, '\xC3', UTF8CharCode), text + 6);
    EXPECT_EQ(CHSearchSubstring(text, "", CaseSensitiveType, UTF8CharCode), text);
}

TEST(CharText, SearchIgnoringCase)
{
    const char* const greek = "\xEC\xDC\xED\xC1\xF3"; // "μάνΑσ" but for the accents
    EXPECT_EQ(CHSearchSubstring(greek, "\xCD\xE1", CaseInsensitiveType, GreekCharCode), greek + 2);
    EXPECT_EQ(CHSearchSubstring(greek, "\xCD\xE1", CaseSensitiveType, GreekCharCode), nullptr);
    const char* const japanese = "\x83\x61\x82\x81"
                                 "A"; // the second is a full-width 'a'
    EXPECT_EQ(CHSearchSubstring(japanese,
                                "\x82\x60"
                                "a",
                                CaseInsensitiveType, JapaneseCharCode),
              japanese + 2);
    EXPECT_EQ(CHSearchSubstring(japanese, "\x83\x41", CaseInsensitiveType, JapaneseCharCode), nullptr);
    // A letter whose two cases have two and three bytes.
    EXPECT_NE(CHSearchSubstring("x\xC8\xBA", "\xE2\xB1\xA5", CaseInsensitiveType, UTF8CharCode), nullptr);
    char text[] = "Stra\xC3\x9F"
                  "e";
    EXPECT_EQ(CHSearchSubstring(text,
                                "A\xC3\x9F"
                                "E",
                                CaseInsensitiveType, UTF8CharCode),
              text + 3);
    EXPECT_EQ(Unicode::UTF8::SearchSubstring(text, "SS", CaseInsensitiveType), nullptr);
}

TEST(CharText, ComparesInTheOrderOfTheLocale)
{
    const struct {
        const char* less;
        const char* greater;
        QVCharCode code;
    } pairs[] = {
        {"a", "B", UTF8CharCode},       {"abc", "ABC", WesternCharCode}, {"e", "\xE9", WesternCharCode},
        {"\xE9", "f", WesternCharCode}, {"\xC3\xA9", "f", UTF8CharCode}, {"\xE0", "\xE1", CyrillicCharCode},
        {"", "a", UTF8CharCode},        {"a\xFFz", "b", UTF8CharCode},   {"z", "\x82\xA0", JapaneseCharCode},
        {nullptr, "", UTF8CharCode},
    };
    for (const auto& [less, greater, code] : pairs) {
        EXPECT_LT(CHCompareTexts(less, greater, CaseSensitiveType, code), 0) << greater;
        EXPECT_GT(CHCompareTexts(greater, less, CaseSensitiveType, code), 0) << greater;
        EXPECT_EQ(CHCompareTexts(greater, greater, CaseInsensitiveType, code), 0) << greater;
    }
    EXPECT_EQ(CHCompareTexts("STRASSE", "strasse", CaseInsensitiveType), 0);
    EXPECT_EQ(CHCompareTexts("\xC9", "\xE9", CaseInsensitiveType, WesternCharCode), 0);
    EXPECT_NE(CHCompareTexts("\xC9", "e", CaseInsensitiveType, WesternCharCode), 0);
    EXPECT_TRUE(CHEqualCStringsInsensitive("\xC3\x89", "\xC3\xA9", UTF8CharCode));
    EXPECT_EQ(CHCompareTexts("abcd", 3, "abc", -1, CaseSensitiveType, UTF8CharCode), 0);
    EXPECT_TRUE(Unicode::UTF8::IsEqualCStrings("e\xCC\x81", "\xC3\x89", CaseInsensitiveType));
    EXPECT_FALSE(Unicode::UTF8::IsEqualCStrings("e\xCC\x81", "\xC3\xA9"));
    EXPECT_EQ(Unicode::UTF8::CompareCStrings("e\xCC\x81", "\xC3\xA9"), 0);
}

TEST(CharText, MalformedTextsHaveAnOrderLikeOthers)
{
    const std::vector<std::string> texts = {"a\xFF", "a\x80",           "a\xE2\x82",    "a",
                                            "ab",    "a\xC3\xA9",       "\xED\xA0\x80", "\xEF\xBF\xBD",
                                            "b",     "\xF4\x8F\xBF\xBF"};
    for (const std::string& a : texts) {
        for (const std::string& b : texts) {
            const int order = Sign(CHCompareTexts(a.c_str(), b.c_str()));
            EXPECT_EQ(order, -Sign(CHCompareTexts(b.c_str(), a.c_str())));
            for (const std::string& c : texts) {
                const int next = Sign(CHCompareTexts(b.c_str(), c.c_str()));
                if (order <= 0 && next <= 0) {
                    EXPECT_EQ(Sign(CHCompareTexts(a.c_str(), c.c_str())), order + next < 0 ? -1 : 0);
                }
            }
        }
    }
}

TEST(CharText, LongTextsCompareWithAndWithoutMemory)
{
    std::string less(1000, 'a');
    std::string greater(1000, 'A');
    less += "\xC3\xA9";
    greater += "f";
    Testing::SweepAllocationFailures([&] {
        const int order = CHCompareTexts(less.c_str(), greater.c_str(), CaseSensitiveType, UTF8CharCode);
        EXPECT_NE(order, 0);
        return order < 0; // by bytes, 'A' comes first
    });
}

TEST(CharText, KeywordsAndFileNames)
{
    EXPECT_EQ(CHCompareASCII("Content-Type", "content-type", CaseInsensitiveType), 0);
    EXPECT_LT(CHCompareASCII("Content-Type", "content-type"), 0);
    EXPECT_NE(CHCompareASCII("\xC9", "\xE9", CaseInsensitiveType), 0);
    EXPECT_GT(CHCompareASCII("\xE9", "z"), 0);
    EXPECT_GT(CHCompareASCII("_", "A", CaseInsensitiveType),
              CHCompareASCII("_", "a", CaseInsensitiveType) - 1);
    EXPECT_TRUE(CHEqualFileNames("R\xE9sum\xE9.TXT", "r\xC9SUM\xC9.txt", WesternCharCode));
    EXPECT_FALSE(CHEqualFileNames("R\xE9sum\xE9", "resume", WesternCharCode));
    EXPECT_LT(CHCompareFileNames("a", "_", UTF8CharCode), 0); // 'A' before '_', as on disk
    EXPECT_LT(CHCompareFileNames("ab", "abc"), 0);
    EXPECT_FALSE(CHEqualFileNames("\x83\x61", "\x83\x41", JapaneseCharCode));
    const unsigned char name1[] = {2, 'a', 0xE9, 'x'};
    const unsigned char name2[] = {2, 'A', 0xC9, 'y'};
    const unsigned char name3[] = {3, 'A', 0xC9, 'y'};
    EXPECT_TRUE(CHEqualPFileNames(name1, name2, WesternCharCode));
    EXPECT_FALSE(CHEqualPFileNames(name2, name3, WesternCharCode));
}

TEST(CharText, CutsBetweenCharacters)
{
    char buffer[8];
    EXPECT_EQ(CHCopyC("ab\xE2\x82\xAC", buffer, 5, UTF8CharCode), 2);
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(CHCopyC("ab\xE2\x82\xAC", buffer, 6, UTF8CharCode), 5);
    EXPECT_EQ(CHCopyC("\x81\x81\x81\x81", buffer, 4, KoreanCharCode), 2);
    EXPECT_EQ(CHCopyC("x\x81\x81\x81\x81", buffer, 4, KoreanCharCode), 3);
    EXPECT_EQ(CHCopyC("abc", nullptr, 0), 3);
    EXPECT_EQ(CHCopyC(nullptr, buffer, 8), 0);
    EXPECT_STREQ(buffer, "");
    char text[300];
    std::memset(text, 'x', 254);
    std::strcpy(text + 254, "\xC3\xA9tail");
    EXPECT_EQ(CHc2pascal(text, UTF8CharCode)[0], 254);
    EXPECT_EQ(std::strlen(CHpascal2c(reinterpret_cast<unsigned char*>(text))), 254U);
    EXPECT_EQ(CHTruncate(text, -1), 0);
    EXPECT_EQ(text[0], 0);
}

TEST(CharText, LinesEndInThreeWays)
{
    const char* const text = "a\rb\r\nc\n\nd";
    std::string lines;
    const char* end = nullptr;
    EOLType eol = EOLCR;
    for (const char* line = text; line != nullptr;) {
        const char* const next = CHGetNextLine(line, &end, &eol);
        lines += std::string(line, end) + (next == nullptr ? '.' : static_cast<char>('0' + eol));
        line = next;
    }
    EXPECT_EQ(lines, "a0b2c11d.");
    EXPECT_EQ(CHGetNextLine(text, EOLCRLF, &end), text + 5);
    EXPECT_EQ(end, text + 3);
    EXPECT_EQ(CHGetNextLine(text + 2, EOLCR, &end), nullptr);
    EXPECT_EQ(*end, 0);
    EXPECT_EQ(CHGetNextLine(text, EOLLF), text + 7);
}

TEST(CharText, CaseFollowsTheCodePage)
{
    EXPECT_EQ(Upper("\xE4\xDF\xFF", WesternCharCode), "\xC4\xDF\x9F");
    EXPECT_EQ(Upper("\xFF", CyrillicCharCode), "\xDF");
    EXPECT_EQ(Upper("\xB5", WesternCharCode), "\xB5"); // the capital is in no western page
    EXPECT_EQ(Lower("I\xDD", TurkishCharCode), "i\xDD");
    EXPECT_EQ(Lower("\x82\x60\x83\x9F\x84\x40", JapaneseCharCode), "\x82\x81\x83\xBF\x84\x70");
    EXPECT_EQ(Upper("stra\xC3\x9F"
                    "e \xF0\x90\x90\xA8",
                    UTF8CharCode),
              "STRA\xC3\x9F"
              "E \xF0\x90\x90\x80");
    EXPECT_EQ(Lower("\xC8\xBA\xFF", UTF8CharCode), "\xE2\xB1\xA5\xFF");
    char text[] = "\xC8\xBA\xC3\x89";
    EXPECT_EQ(CHtoLower(text, UTF8CharCode), 4);
    EXPECT_STREQ(text, "\xC8\xBA\xC3\xA9"); // the first would grow
    EXPECT_EQ(CHtoUpper('\xE9', WesternCharCode), '\xC9');
    EXPECT_EQ(CHtoUpper('\xE9', UTF8CharCode), '\xE9');
    EXPECT_EQ(CHtoLower('\xE9', JapaneseCharCode), '\xE9');
}

TEST(CharText, AsciiKeepsOneForEach)
{
    char text[] = "\xC4pfel \x97 \x93stra\xDF"
                  "e\x94 \x80\xBD";
    EXPECT_EQ(CHtoASCII(text, WesternCharCode), 19);
    EXPECT_STREQ(text, "Apfel - \"strase\" E?");
    char utf8[] = "\xC5\x81\xC3\xB3\x64\xC5\xBA \xE6\xB0\xB4\xFF\xF0\x9F\x8C\x8B";
    EXPECT_EQ(CHtoASCII(utf8, UTF8CharCode), 8);
    EXPECT_STREQ(utf8, "Lodz ???");
    EXPECT_EQ(CHtoASCII('\xB1', JapaneseCharCode), '?');
}

TEST(CharText, ClassesKnowLettersOfAllScripts)
{
    for (const auto& [text, code] :
         std::vector<std::pair<const char*, QVCharCode>>{{"x", UTF8CharCode},
                                                         {"\xE9", WesternCharCode},
                                                         {"\xE0", CyrillicCharCode},
                                                         {"\x93\xFA", JapaneseCharCode},
                                                         {"\xE2\x85\xA7", UTF8CharCode},
                                                         {"\xD7\x90", UTF8CharCode}}) {
        EXPECT_TRUE(CHisAlpha(text, code) && CHisAlnum(text, code) && !CHisDigit(text, code)) << text;
    }
    for (const auto& [text, code] :
         std::vector<std::pair<const char*, QVCharCode>>{{"", UTF8CharCode},
                                                         {"\xD7", WesternCharCode},
                                                         {"_", UTF8CharCode},
                                                         {"\x81", JapaneseCharCode},
                                                         {"\xE9", UTF8CharCode},
                                                         {"\xF0\x90\x90\xA8", UTF8CharCode},
                                                         {"\xD9\xA3", UTF8CharCode}}) {
        EXPECT_FALSE(CHisAlpha(text, code) || CHisAlnum(text, code) || CHisHexaDigit(text, code)) << text;
    }
    EXPECT_TRUE(CHisDigit('7') && CHisAlnum('7') && !CHisAlpha('7') && CHisHexaDigit('f'));
    EXPECT_FALSE(CHisHexaDigit('g'));
    EXPECT_TRUE(CHisAlpha('\xE9', WesternCharCode));
    EXPECT_FALSE(CHisAlpha('\xE9', JapaneseCharCode));
    EXPECT_TRUE(Unicode::UTF8::IsAlpha("\xC3\xA9") && !Unicode::UTF8::IsDigit("\xC3\xA9"));
}

TEST(CharText, XmlTextIsEscapedWhole)
{
    char buffer[32];
    EXPECT_EQ(CHGetXMLString("<a b='&\"'>\r\n\x02", nullptr, 0), 42);
    EXPECT_EQ(CHGetXMLString("x<y>\r\n\x02", buffer, sizeof(buffer)), 17);
    EXPECT_STREQ(buffer, "x&lt;y&gt;&#13;\n?");
    EXPECT_EQ(CHGetXMLString("ab&c", buffer, 7), 2);
    EXPECT_STREQ(buffer, "ab");
}

TEST(CharText, ConversionsFollowTheCodePages)
{
    char buffer[16];
    EXPECT_EQ(CHANSItoUTF8("\xE9\x80", -1, buffer, 16, WesternCharCode), 6);
    EXPECT_STREQ(buffer, "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(CHUTF8toANSI("\xC4\x80\xE6\xB0\xB4\xFF", 6, buffer, 16, WesternCharCode), 3);
    EXPECT_EQ(std::string(buffer, 3), "A??");
    EXPECT_EQ(CHUTF8toANSI("\xFFz", -1, buffer, 16, UTF8CharCode), 5);
    EXPECT_STREQ(buffer, "\xEF\xBF\xBDz");
    EXPECT_EQ(CHUTF8toANSI("\xE6\xB0\xB4", 3, buffer, 1, JapaneseCharCode), 0);
    EXPECT_EQ(CHUTF8toANSI("\xE6\xB0\xB4", 3, buffer, 2, JapaneseCharCode), 2);
    EXPECT_EQ(CHUTF8toANSI("abc", 3, nullptr, 16), 0);
    EXPECT_EQ(CHUTF8toANSI("abc", 0, buffer, 16), 0);
    EXPECT_EQ(CHUTF8toANSI("abc", -2, buffer, 16), 0);
    EXPECT_EQ(CHUTF8toANSI(nullptr, -1, buffer, 16), 0);
}

TEST(CharText, TablesAreMadeByWhicheverThreadIsFirst)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (const QVCharCode code : {WesternCharCode, CyrillicCharCode, GreekCharCode, BalticCharCode,
                                          JapaneseCharCode, KoreanCharCode}) {
                char text[] = "\xE1\xE1z";
                const int length = CHtoUpper(text, code);
                EXPECT_TRUE(length == 3 && text[2] == 'Z');
                EXPECT_EQ(CHANSItoUTF8(text, 2, nullptr, 0, code), code < JapaneseCharCode ? 4 : 3);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(CharText, NullIsNoText)
{
    const char* const none = nullptr;
    char buffer[4] = "abc";
    EXPECT_EQ(CHGetNextCharPtr(none), nullptr);
    EXPECT_EQ(CHGetLastCharPtr(none), nullptr);
    EXPECT_EQ(CHCharBytes(none), 0);
    EXPECT_EQ(CHSearchCharLeft(none, 'a'), nullptr);
    EXPECT_EQ(CHSearchCharRight("a", none), nullptr);
    EXPECT_EQ(CHSearchSubstring("a", none), nullptr);
    EXPECT_EQ(CHGetNextLine(none), nullptr);
    EXPECT_TRUE(CHEqualCStrings(none, none) && !CHEqualCStrings(none, ""));
    EXPECT_EQ(CHtoLower(none, buffer, 4) + CHTruncate(nullptr, 3) + CHpascal2c(nullptr, buffer, 4), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(CHGetXMLString("abc", nullptr, 5), 0);
    EXPECT_FALSE(CHisAlpha(none));
    EXPECT_EQ(Unicode::UTF8::CountOfCharacters(none), 0);
}

} // namespace
} // namespace QV
