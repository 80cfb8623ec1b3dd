#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/UniChar.hpp>

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace QV {
namespace {

using Units = std::u16string;
using View = std::u16string_view;

const unsigned short* Raw(View text)
{
    return reinterpret_cast<const unsigned short*>(text.data());
}

unsigned short* Raw(Units& text)
{
    return reinterpret_cast<unsigned short*>(text.data());
}

unsigned int Length(View text)
{
    return static_cast<unsigned int>(text.size());
}

Units MapCase(View text, UniChar::Case target)
{
    Units result(UniChar::ComputeCaseConvertedLength(Raw(text), Length(text), target), u'?');
    EXPECT_TRUE(UniChar::ConvertCase(Raw(text), Length(text), Raw(result), Length(result), target));
    return result;
}

Units MapWidth(View text, UniChar::Width target)
{
    Units result(UniChar::ComputeWidthConvertedLength(Raw(text), Length(text), target), u'?');
    EXPECT_TRUE(UniChar::ConvertWidth(Raw(text), Length(text), Raw(result), Length(result), target));
    return result;
}

Units ToUnits(UInt32 character)
{
    if (character < 0x10000) {
        return Units(1, static_cast<char16_t>(character));
    }
    return {static_cast<char16_t>(0xD7C0 + (character >> 10)),
            static_cast<char16_t>(0xDC00 + (character & 0x3FF))};
}

UInt64 AddToDigest(UInt64 digest, const Units& text)
{
    for (const char16_t unit : text) {
        digest = (digest ^ unit) * 0x100000001B3;
    }
    return (digest ^ text.size()) * 0x100000001B3;
}

UniChar::CompareResult Compare(View a, View b, UniChar::CaseComparison rule = UniChar::CaseSensitive)
{
    return UniChar::Compare(Raw(a), Length(a), Raw(b), Length(b), rule);
}

TEST(UniChar, BytesBelow80AreTakenAsTheyAre)
{
    EXPECT_EQ(static_cast<unsigned short>(UniChar('A')), 0x41);
    EXPECT_EQ(static_cast<char>(UniChar(u'\x7F')), '\x7F');
    const DefaultCharCodeGuard greek(GreekCharCode);
    EXPECT_EQ(UniChar('\xE1'), UniChar(u'\u03B1'));
    EXPECT_EQ(UniChar(static_cast<unsigned char>(0xE1)), UniChar(u'\u03B1'));
    EXPECT_EQ(static_cast<unsigned char>(UniChar(u'\u03B1')), 0xE1);
}

TEST(UniChar, AloneUnderUtf8NoHighByteConverts)
{
    EXPECT_EQ(UniChar('\xC3'), UniChar(u'\0'));
    EXPECT_EQ(static_cast<char>(UniChar(u'\u00E9')), '\0');
}

TEST(UniChar, AsciiClassesEndWhereTheyShould)
{
    for (const char16_t c : u"/:@G`g\x80\xFF10") {
        EXPECT_EQ(UniChar(c).IsASCIIHexaDigit(), c == u'1' || c == u'0') << static_cast<int>(c);
    }
    for (const char16_t c : {u'0', u'9', u'A', u'F', u'a', u'f'}) {
        EXPECT_TRUE(UniChar(c).IsASCIIHexaDigit());
    }
    EXPECT_TRUE(UniChar(u'z').IsASCIILower() && !UniChar(u'{').IsASCIILower() &&
                !UniChar(u'Z').IsASCIILower());
    EXPECT_TRUE(UniChar(u'Z').IsASCIIUpper() && !UniChar(u'[').IsASCIIUpper() &&
                !UniChar(u'\uFF21').IsASCIIUpper());
    EXPECT_TRUE(UniChar(u'9').IsASCIIDigit() && !UniChar(u':').IsASCIIDigit() &&
                !UniChar(u'\u0661').IsASCIIDigit());
}

TEST(UniChar, HexaDigitValueValidatesNothing)
{
    const std::pair<char16_t, int> values[] = {{u'f', 15}, {u'F', 15},  {u'G', 16},
                                               {u'Z', 35}, {u'!', -54}, {u'7', 7}};
    for (const auto& [unit, value] : values) {
        EXPECT_EQ(UniChar(unit).GetASCIIHexaDigitValue(), value);
    }
    EXPECT_EQ(UniChar(u' ').GetASCIIDigitValue(), -16);
}

TEST(UniChar, ClassesOfTheLocale)
{
    EXPECT_TRUE(UniChar(u'a').IsAlpha() && UniChar(u'a').IsLower() && !UniChar(u'a').IsUpper());
    EXPECT_TRUE(UniChar(u'7').IsDigit() && UniChar(u'7').IsAlphaNumeric() && !UniChar(u'7').IsAlpha());
    EXPECT_TRUE(UniChar(u'\t').IsWhiteSpace() && UniChar(u'\t').IsControl() && UniChar(u'!').IsPunctuation());
    for (UInt32 unit = 0xD800; unit < 0xE000; ++unit) {
        const UniChar half(static_cast<unsigned short>(unit));
        EXPECT_FALSE(half.IsAlpha() || half.IsAlphaNumeric() || half.IsControl() || half.IsDigit() ||
                     half.IsLower() || half.IsPunctuation() || half.IsUpper() || half.IsWhiteSpace());
    }
}

TEST(UniCharText, CompareIsTheLocalesOrder)
{
    EXPECT_EQ(Compare(u"a", u"B"), UniChar::Less);
    EXPECT_EQ(Compare(u"b", u"A"), UniChar::Greater);
    EXPECT_EQ(Compare(u"abc", u"ABC"), UniChar::Less);
    EXPECT_EQ(Compare(u"abc", u"ABC", UniChar::IgnoreCase), UniChar::Equal);
    EXPECT_EQ(Compare(u"abc", u"ABC", static_cast<UniChar::CaseComparison>(2)), UniChar::Less);
    EXPECT_EQ(Compare(u"\u00E9", u"e\u0301"), UniChar::Equal);
    EXPECT_EQ(Compare(u"\u00E9", u"f", UniChar::IgnoreCase), UniChar::Less);
    EXPECT_EQ(Compare(u"\u00E9", u"e", UniChar::IgnoreCase), UniChar::Greater);
    EXPECT_EQ(Compare(u"", u"a"), UniChar::Less);
    EXPECT_EQ(Compare(u"ab", u"a"), UniChar::Greater);
    EXPECT_EQ(UniChar::Compare(nullptr, 0, Raw(u"a"), 1, UniChar::CaseSensitive), UniChar::Equal);
    EXPECT_EQ(UniChar::Compare(Raw(u"b"), 0xFFFFFFFF, Raw(u"a"), 1, UniChar::CaseSensitive), UniChar::Equal);
}

TEST(UniCharText, CompareFromManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 200; ++round) {
                ASSERT_EQ(Compare(u"\u00C4pfel", u"Zebra", UniChar::IgnoreCase), UniChar::Less);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST(UniCharText, CaseMapsOneToOneWithoutLinguisticRules)
{
    EXPECT_EQ(MapCase(u"stra\u00DFe \u00E4\u043F", UniChar::UpperCase), u"STRA\u00DFE \u00C4\u041F");
    EXPECT_EQ(MapCase(u"\u0130\u03A3\u0391\u03A3", UniChar::LowerCase), u"\u0130\u03C3\u03B1\u03C3");
    EXPECT_EQ(MapCase(u"\u00B5\u0131\u017F\u03C2", UniChar::UpperCase), u"\u00B5\u0131\u017F\u03C2");
    EXPECT_EQ(MapCase(u"\U00010428\xD801x", UniChar::UpperCase), u"\U00010400\xD801X");
    EXPECT_EQ(MapCase(u"AbZ[@`{z", static_cast<UniChar::Case>(7)), u"abz[@`{z");
    EXPECT_EQ(MapCase(u"AbZ[@`{z", UniChar::UpperCase), u"ABZ[@`{Z");
}

TEST(UniCharText, CaseOfEveryCharacterIsThatOfWindows)
{
    UInt64 lower = 0;
    UInt64 upper = 0;
    for (UInt32 character = 0; character < 0x20000; ++character) {
        const Units text = ToUnits(character);
        lower = AddToDigest(lower, MapCase(text, UniChar::LowerCase));
        upper = AddToDigest(upper, MapCase(text, UniChar::UpperCase));
    }
    EXPECT_EQ(lower, 0x5468221DA146A14EU);
    EXPECT_EQ(upper, 0x221D4A0E1C3A3D88U);
}

TEST(UniCharText, WidthOfEveryUnitIsThatOfWindows)
{
    UInt64 half = 0;
    UInt64 full = 0;
    for (UInt32 unit = 0; unit < 0x10000; ++unit) {
        for (const char16_t mark : u"\uFF9E\uFF9F\u3099") {
            const Units text = {static_cast<char16_t>(unit), mark};
            half = AddToDigest(half, MapWidth(text, UniChar::HalfWidth));
            full = AddToDigest(full, MapWidth(text, UniChar::FullWidth));
        }
    }
    EXPECT_EQ(half, 0x9BD546C55231DF8CU);
    EXPECT_EQ(full, 0xA07C29C122ED96A4U);
}

TEST(UniCharText, SoundMarksChangeTheLengthWithTheWidth)
{
    EXPECT_EQ(MapWidth(u"\u30AC\uFF21\u3000", UniChar::HalfWidth), u"\uFF76\uFF9EA ");
    EXPECT_EQ(MapWidth(u"\uFF76\uFF9E\uFF76\uFF9F1", UniChar::FullWidth), u"\u30AC\u30AB\u309A\uFF11");
    EXPECT_EQ(MapWidth(u"A~", static_cast<UniChar::Width>(9)), u"\uFF21\uFF5E");
    Units tooShort(1, 0);
    EXPECT_FALSE(UniChar::ConvertWidth(Raw(u"\u30AC"), 1, Raw(tooShort), 1, UniChar::HalfWidth));
}

TEST(UniCharText, MappingSucceedsAtTheExactLengthOnly)
{
    for (const View text : {View(u"abc"), View(u"\u00E4bc")}) {
        Units room(8, u'?');
        EXPECT_FALSE(UniChar::ConvertCase(Raw(text), 3, Raw(room), 2, UniChar::UpperCase));
        EXPECT_FALSE(UniChar::ConvertCase(Raw(text), 3, Raw(room), 4, UniChar::UpperCase));
        EXPECT_FALSE(UniChar::ConvertCase(Raw(text), 3, Raw(room), 0, UniChar::UpperCase));
        EXPECT_FALSE(UniChar::ConvertCase(Raw(text), 3, nullptr, 3, UniChar::UpperCase));
        EXPECT_EQ(room[4], u'?');
        Units inPlace(text);
        EXPECT_TRUE(UniChar::ConvertCase(Raw(inPlace), 3, Raw(inPlace), 3, UniChar::UpperCase));
        EXPECT_EQ(inPlace.substr(1), u"BC");
    }
    EXPECT_TRUE(UniChar::ConvertCase(nullptr, 0, nullptr, 5, UniChar::LowerCase));
    EXPECT_EQ(UniChar::ComputeCaseConvertedLength(nullptr, 0, UniChar::LowerCase), 0U);
    EXPECT_EQ(UniChar::ComputeCaseConvertedLength(nullptr, 7, UniChar::LowerCase), 7U);
    EXPECT_FALSE(UniChar::ConvertWidth(nullptr, 1, nullptr, 1, UniChar::HalfWidth));
}

using Normalize = void (*)(const unsigned short*, unsigned int, unsigned short**, unsigned int*);

Units Apply(Normalize normalize, View text)
{
    unsigned short* result = nullptr;
    unsigned int length = 12345;
    normalize(Raw(text), Length(text), &result, &length);
    EXPECT_NE(result, nullptr);
    if (result == nullptr) {
        return u"(none)";
    }
    const Units units(result, result + length);
    MemoryManager::Free(result);
    return units;
}

TEST(UniCharText, TheFourNormalForms)
{
    const View text = u"\u00C5\u0041\u030A\uFB01\uD55C\u0323\u0302o";
    EXPECT_EQ(Apply(UniChar::ConvertToDecomposed, text),
              u"A\u030AA\u030A\uFB01\u1112\u1161\u11AB\u0323\u0302o");
    EXPECT_EQ(Apply(UniChar::ConvertToComposed, text), u"\u00C5\u00C5\uFB01\uD55C\u0323\u0302o");
    EXPECT_EQ(Apply(UniChar::ConvertToCompatibilityDecomposed, text),
              u"A\u030AA\u030Afi\u1112\u1161\u11AB\u0323\u0302o");
    EXPECT_EQ(Apply(UniChar::ConvertToCompatibilityComposed, text), u"\u00C5\u00C5fi\uD55C\u0323\u0302o");
    EXPECT_EQ(Apply(UniChar::ConvertToComposed, u"o\u0302\u0323"), u"\u1ED9");
}

TEST(UniCharText, NormalFormsManyTimesAsLongAsTheText)
{
    const Units text(500, u'\uFDFA');
    EXPECT_EQ(Apply(UniChar::ConvertToCompatibilityDecomposed, text).size(), 500U * 18);
    EXPECT_EQ(Apply(UniChar::ConvertToDecomposed, Units(500, u'\u1FB7')).size(), 1500U);
}

TEST(UniCharText, InvalidTextComesBackUnchanged)
{
    for (const View text : {View(u"\u00C5\xD800"), View(u"\xDC00\u00C5"), View(u"\u00C5\xD800x"),
                            View(u"\u00C5\uFFFE"), View(u"\u00C5\uFDD0"), View(u"\u00C5\U0001FFFF")}) {
        EXPECT_EQ(Apply(UniChar::ConvertToDecomposed, text), text);
        EXPECT_EQ(Apply(UniChar::ConvertToCompatibilityComposed, text), text);
    }
    EXPECT_EQ(Apply(UniChar::ConvertToDecomposed, u"\u00C5\U0001FFFD\U0010FBFE"),
              u"A\u030A\U0001FFFD\U0010FBFE");
    EXPECT_EQ(Apply(UniChar::ConvertToComposed, u""), u"");
    EXPECT_EQ(Apply(UniChar::ConvertToComposed, u"plain"), u"plain");
}

TEST(UniCharText, NothingIsHandedOutOnFailure)
{
    unsigned short unit = 0;
    unsigned short* result = &unit;
    unsigned int length = 12345;
    UniChar::ConvertToComposed(nullptr, 3, &result, &length);
    UniChar::ConvertToComposed(&unit, 0x80000000, &result, &length);
    EXPECT_EQ(result, &unit);
    EXPECT_EQ(length, 12345U);
}

TEST(UniCharConversion, AsciiIsCopiedUnderEveryPage)
{
    for (const QVCharCode code :
         {DefaultCharCode, JapaneseCharCode, UTF8CharCode, SymbolCharCode, UTF16CharCode}) {
        Units units(5, u'?');
        EXPECT_EQ(UniChar::ANSIToUnicode("abcd", 4, Raw(units), 5, code), 4U);
        EXPECT_EQ(units, u"abcd?");
        EXPECT_EQ(UniChar::ANSIToUnicode("abcd", 4, Raw(units), 3, code), 0U);
        EXPECT_EQ(UniChar::GetUnicodeLength("a\0b", 3, code), 3U);
        char bytes[4] = "???";
        EXPECT_EQ(UniChar::UnicodeToANSI(Raw(u"xy"), 2, bytes, 3, code, ThrowOnConversionError), 2U);
        EXPECT_STREQ(bytes, "xy?");
        EXPECT_EQ(UniChar::UnicodeToANSI(Raw(u"xy"), 2, bytes, 1, code, ConvertLossy), 0U);
        EXPECT_EQ(UniChar::GetANSILength(Raw(u"xy"), 2, code, ConvertLossy), 2U);
        EXPECT_EQ(UniChar::ANSIToUnicode("", 0, Raw(units), 5, code), 0U);
        EXPECT_EQ(UniChar::GetANSILength(nullptr, 2, code, ConvertLossy), 0U);
    }
}

TEST(UniCharConversion, TheErrorRuleDecidesAboutLoss)
{
    char bytes[4] = "";
    EXPECT_EQ(UniChar::UnicodeToANSI(Raw(u"a\u0100"), 2, bytes, 3, WesternCharCode, ConvertLossy), 2U);
    EXPECT_STREQ(bytes, "aA");
    EXPECT_EQ(UniChar::UnicodeToANSI(Raw(u"a\u0100"), 2, bytes, 3, WesternCharCode, ThrowOnConversionError),
              0U);
    EXPECT_EQ(UniChar::GetANSILength(Raw(u"a\u0100"), 2, WesternCharCode, ThrowOnConversionError), 0U);
    EXPECT_EQ(UniChar::GetANSILength(Raw(u"a\u65E5"), 2, JapaneseCharCode, ThrowOnConversionError), 3U);
    EXPECT_EQ(UniChar::GetUnicodeLength("a\xC3\xA9", 3, UTF8CharCode), 2U);
}

TEST(UniCharConversion, LengthsBeyondSigned32BitsAreRefused)
{
    unsigned short unit = 'x';
    char byte = 'x';
    for (const unsigned int length : {0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(UniChar::GetUnicodeLength("x", length, UTF8CharCode), 0U);
        EXPECT_EQ(UniChar::GetANSILength(&unit, length, UTF8CharCode, ConvertLossy), 0U);
        EXPECT_EQ(UniChar::ANSIToUnicode("x", length, &unit, 1, UTF8CharCode), 0U);
        EXPECT_EQ(UniChar::ANSIToUnicode("x", 1, &unit, length, UTF8CharCode), 0U);
        EXPECT_EQ(UniChar::UnicodeToANSI(&unit, length, &byte, 1, UTF8CharCode, ConvertLossy), 0U);
        EXPECT_EQ(UniChar::UnicodeToANSI(&unit, 1, &byte, length, UTF8CharCode, ConvertLossy), 0U);
    }
}

} // namespace
} // namespace QV
