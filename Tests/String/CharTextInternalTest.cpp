// Hostile text: every function, every code page, texts that end at an inaccessible page.
#include "Tests/Support/GuardedArray.hpp"
#include <QVRoot/String/CharPageImpl.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/Utf8Text.hpp>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace QV {
namespace {

using Testing::GuardedArray;

const QVCharCode codes[] = {
    WesternCharCode,
    CentralEuropeanCharCode,
    BalticCharCode,
    CyrillicCharCode,
    GreekCharCode,
    TurkishCharCode,
    HebrewCharCode,
    ArabicCharCode,
    ThaiCharCode,
    SymbolCharCode,
    JapaneseCharCode,
    TraditionalChineseCharCode,
    KoreanCharCode,
    SimplifiedChineseCharCode,
    UTF8CharCode,
    SystemCharCode,
    static_cast<QVCharCode>(77),
};

bool IsIn(UInt32 byte, UInt32 first, UInt32 last)
{
    return byte >= first && byte <= last;
}

/// The bytes of the first character, by the rule book.
size_t GetBytesByRule(std::string_view text, QVCharCode code)
{
    const UInt32 lead = static_cast<UInt8>(text[0]);
    if (code == JapaneseCharCode) {
        return (IsIn(lead, 0x81, 0x9F) || IsIn(lead, 0xE0, 0xFC)) && text.size() > 1 ? 2 : 1;
    }
    if (code >= JapaneseCharCode && code <= KoreanCharCode) {
        return IsIn(lead, 0x81, 0xFE) && text.size() > 1 ? 2 : 1;
    }
    if (code != UTF8CharCode) {
        return 1;
    }
    const size_t announced = IsIn(lead, 0xC0, 0xDF)   ? 2
                             : IsIn(lead, 0xE0, 0xEF) ? 3
                             : IsIn(lead, 0xF0, 0xF7) ? 4
                                                      : 1;
    size_t bytes = 1;
    while (bytes < std::min(announced, text.size()) && IsIn(static_cast<UInt8>(text[bytes]), 0x80, 0xBF)) {
        ++bytes;
    }
    return bytes;
}

class HostileText : public testing::TestWithParam<QVCharCode> {
protected:
    QVCharCode code_ = GetParam() == SystemCharCode ? CHGetSystemCharCode() : GetParam();

    /// The text at the end of the accessible memory.
    char* Place(std::string_view text)
    {
        char* const place = sources_.GetEnd() - text.size() - 1;
        *std::copy(text.begin(), text.end(), place) = 0;
        return place;
    }

    void CheckSteps(std::string_view text)
    {
        const char* const begin = Place(text);
        std::vector<const char*> starts;
        for (const char* p = begin; *p != 0; p = CHGetNextCharPtr(p, code_)) {
            const std::string_view rest(p);
            ASSERT_EQ(static_cast<size_t>(CHCharBytes(p, code_)), GetBytesByRule(rest, code_)) << text;
            starts.push_back(p);
        }
        const char* end = begin + text.size();
        EXPECT_EQ(CHGetLastCharPtr(begin, code_), starts.empty() ? begin : starts.back());
        while (!starts.empty()) {
            const char* const last = CHGetLastCharPtr(begin, end, code_);
            ASSERT_EQ(last, starts.back()) << testing::PrintToString(text);
            end = last;
            starts.pop_back();
        }
        EXPECT_EQ(end, begin);
    }

    /// A prefix of whole characters, terminated, with nothing written behind the room.
    void CheckCut(std::string_view text, const char* result, int length, int room)
    {
        ASSERT_LE(length, room);
        ASSERT_EQ(std::strlen(result), static_cast<size_t>(length));
        ASSERT_EQ(std::string_view(result), text.substr(0, static_cast<size_t>(length)));
        size_t boundary = 0;
        while (boundary < static_cast<size_t>(length)) {
            boundary += GetBytesByRule(text.substr(boundary), code_);
        }
        ASSERT_EQ(boundary, static_cast<size_t>(length)) << "cut inside a character";
        const std::string_view rest = text.substr(boundary);
        ASSERT_TRUE(rest.empty() || boundary + GetBytesByRule(rest, code_) > static_cast<size_t>(room))
            << "cut too short";
    }

    void CheckCopies(std::string_view text)
    {
        for (int room = 0; room <= static_cast<int>(text.size()) + 1; ++room) {
            const char* const source = Place(text);
            char* const target = targets_.GetEnd() - room - 1;
            CheckCut(text, target, CHCopyC(source, target, room + 1, code_), room);
            unsigned char* const pascal = reinterpret_cast<unsigned char*>(target);
            const int length = CHc2pascal(source, pascal, room + 1, code_);
            ASSERT_EQ(length, pascal[0]);
            std::vector<char> c(text.size() + 2);
            CHpascal2c(pascal, c.data(), static_cast<int>(c.size()), code_);
            CheckCut(text, c.data(), length, room);
            ASSERT_EQ(CHCopyPascal(pascal, pascal, room + 1, code_), length);
            char* const cut = Place(text);
            CheckCut(text, cut, CHTruncate(cut, room, code_), room);
        }
    }

    /// Results are bounded and terminated, and the length asked for is the length given.
    template <class Function>
    void CheckBounded(std::string_view text, Function function)
    {
        const char* const source = Place(text);
        const int whole = function(source, static_cast<char*>(nullptr), 0);
        for (int room = whole + 1; room >= 0; room -= 1 + room / 4) {
            char* const target = targets_.GetEnd() - room - 1;
            const int length = function(source, target, room + 1);
            ASSERT_EQ(std::strlen(target), static_cast<size_t>(length));
            ASSERT_LE(length, room);
            ASSERT_TRUE(room < whole || length == whole);
        }
    }

    void CheckRewriting(std::string_view text)
    {
        CheckBounded(text, [this](const char* s, char* d, int n) { return CHGetXMLString(s, d, n, code_); });
        CheckBounded(text, [this](const char* s, char* d, int n) { return CHtoUpper(s, d, n, code_); });
        CheckBounded(text, [this](const char* s, char* d, int n) { return CHtoLower(s, d, n, code_); });
        CheckBounded(text, [this](const char* s, char* d, int n) { return CHtoASCII(s, d, n, code_); });
        ASSERT_EQ(CHtoUpper(Place(text), code_), static_cast<int>(text.size()));
        ASSERT_EQ(CHtoLower(Place(text), code_), static_cast<int>(text.size()));
        ASSERT_EQ(CHtoUpperASCII(Place(text), code_), static_cast<int>(text.size()));
        ASSERT_LE(CHtoASCII(Place(text), code_), static_cast<int>(text.size()));
        CHc2pascal(CHpascal2c(CHc2pascal(Place(text), code_)), code_);
    }

    void CheckConversions(std::string_view text)
    {
        for (const auto convert : {CHANSItoUTF8, CHUTF8toANSI}) {
            const int length = static_cast<int>(text.size());
            const char* const source = Place(text) + 1; // without the terminator at the end
            const char* const moved =
                static_cast<const char*>(std::memmove(const_cast<char*>(source), source - 1, text.size()));
            const int whole = convert(moved, length, nullptr, 0, code_);
            ASSERT_GT(whole, 0);
            for (const int room : {whole, whole - 1, 1}) {
                char* const target = targets_.GetEnd() - room;
                ASSERT_EQ(room < 1 ? 0 : convert(moved, length, target, room, code_),
                          room < whole ? 0 : whole);
            }
            ASSERT_EQ(convert(Place(text), -1, nullptr, 0, code_), whole + 1);
        }
    }

    void CheckSearches(std::string_view text)
    {
        const char* const source = Place(text);
        for (const CaseType caseType : {CaseSensitiveType, CaseInsensitiveType}) {
            for (const char* p = source; *p != 0; p = CHGetNextCharPtr(p, code_)) {
                const std::string tail(p);
                const char* const found = CHSearchSubstring(source, tail.c_str(), caseType, code_);
                ASSERT_TRUE(found != nullptr && found <= p);
                // What was found begins with a character of the text.
                ASSERT_EQ(CHGetNextCharPtr(CHGetLastCharPtr(source, found + 1, code_), code_) - found,
                          CHCharBytes(found, code_));
            }
            ASSERT_EQ(CHSearchSubstring(source, (std::string(text) + "a").c_str(), caseType, code_), nullptr);
            ASSERT_EQ(CHCompareTexts(source, std::string(text).c_str(), caseType, code_), 0);
        }
        const char* const left = CHSearchCharLeft(source, source, code_);
        ASSERT_EQ(left, text.empty() ? nullptr : source);
        ASSERT_GE(CHSearchCharRight(source, source, code_), left);
        ASSERT_TRUE(CHEqualFileNames(source, std::string(text).c_str(), code_));
        const char* end = nullptr;
        for (const char* line = source; line != nullptr;) {
            line = CHGetNextLine(line, &end, nullptr, code_);
        }
        ASSERT_EQ(*end, 0);
        CHisAlnum(source, code_);
    }

    GuardedArray<char> sources_{1024};
    GuardedArray<char> targets_{4096};
};

TEST_P(HostileText, EveryPairOfBytesStepsByTheRule)
{
    for (UInt32 pair = 0; pair < 0x10000 && !HasFailure(); ++pair) {
        const char text[2] = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        CheckSteps({text, text[0] == 0 ? 0 : std::strlen(std::string(text, 2).c_str())});
    }
}

TEST_P(HostileText, EveryFunctionStaysInside)
{
    // Leads in front of leads, ASCII, controls and the end; sequences too short, too long and not allowed.
    const std::string pieces[] = {"\x81",
                                  "\xE0",
                                  "\xF0",
                                  "\xFF",
                                  "\x80",
                                  "\xC3\xA9",
                                  "\xE2\x82\xAC",
                                  "\xF0\x9F\x8C\x8B",
                                  "\xE2\x82",
                                  "\xED\xA0\x80",
                                  "\xF5\x80",
                                  "\xFE\x5C",
                                  "a",
                                  "Z",
                                  "&",
                                  "\r\n",
                                  "\r",
                                  "\x01",
                                  "\xB1",
                                  "\x84\x60"};
    for (const std::string& first : pieces) {
        for (const std::string& second : pieces) {
            for (const std::string& third :
                 {std::string(), std::string("\x81"), std::string("\xE3\x81\x82"), std::string("b\xE2")}) {
                const std::string text = first + second + third;
                CheckSteps(text);
                CheckCopies(text);
                CheckRewriting(text);
                CheckConversions(text);
                CheckSearches(text);
                ASSERT_FALSE(HasFailure()) << testing::PrintToString(text);
            }
        }
    }
}

TEST_P(HostileText, LongTextsGoThroughInPieces)
{
    std::string text;
    for (int i = 0; text.size() < 700; ++i) {
        text += i % 5 == 0 ? "\xF0\x9F\x8C\x8B" : i % 3 == 0 ? "x\xC3\xA9" : "\xE3\x81\x82";
        CheckConversions(text);
        ASSERT_FALSE(HasFailure()) << text.size();
    }
    CheckSteps(text);
    CheckSearches(text);
}

INSTANTIATE_TEST_SUITE_P(CodePages, HostileText, testing::ValuesIn(codes),
                         [](const auto& info) { return "Code" + std::to_string(info.param); });

TEST(Utf8Text, CountsCharactersUpToTheEnd)
{
    const GuardedArray<char> memory(64);
    const std::string text = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8C\x8B\xE2\x82\x80\x80";
    const int counts[] = {0, 1, 2, 2, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 6};
    for (size_t length = 0; length <= text.size(); ++length) {
        char* const place = memory.GetEnd() - length;
        std::copy_n(text.begin(), length, place);
        EXPECT_EQ(Unicode::UTF8::CountOfCharacters(place, static_cast<int>(length)), counts[length])
            << length;
    }
    EXPECT_EQ(Unicode::UTF8::CountOfCharacters(text.c_str()), 6);
}

} // namespace
} // namespace QV
