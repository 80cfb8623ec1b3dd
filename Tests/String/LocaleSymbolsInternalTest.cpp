#include <QVRoot/String/LocaleSymbolsImpl.hpp>

#include <climits>
#include <gtest/gtest.h>
#include <string>

using namespace QV;

namespace {

std::u16string Symbols(const std::u16string& decimal, const std::u16string& thousands,
                       const std::u16string& list)
{
    Impl::LocaleNumberTexts texts;
    decimal.copy(reinterpret_cast<char16_t*>(texts.decimal), 7);
    thousands.copy(reinterpret_cast<char16_t*>(texts.thousands), 7);
    list.copy(reinterpret_cast<char16_t*>(texts.list), 7);
    const Impl::NumberSymbols symbols = Impl::ResolveNumberSymbols(texts);
    return {char16_t(symbols.decimal), char16_t(symbols.grouping), char16_t(symbols.list)};
}

std::string Grouping(const char16_t* text)
{
    const Impl::GroupingPattern pattern = Impl::ParseGrouping(reinterpret_cast<const UInt16*>(text));
    std::string result;
    for (UInt32 i = 0; i < pattern.count; ++i) {
        result += std::to_string(pattern.sizes[i]) + " ";
    }
    return result + (pattern.repeatsLast ? "repeated" : "once");
}

std::u16string FromC(const char* grouping)
{
    UInt16 text[17];
    Impl::MakeGroupingText(grouping, text);
    return reinterpret_cast<const char16_t*>(text);
}

TEST(LocaleRules, ResolveMissingAndConflictingSymbols)
{
    EXPECT_EQ(Symbols(u".", u",", u";"), u".,;");
    EXPECT_EQ(Symbols(u"", u"", u""), u". ,");
    EXPECT_EQ(Symbols(u"5", u"0", u"9"), u". ,");
    EXPECT_EQ(Symbols(u",x", u"\u202F", u"; "), u",\u202F;");
    EXPECT_EQ(Symbols(u",", u",", u";"), u".,;");
    EXPECT_EQ(Symbols(u".", u".", u";"), u". ;");
    EXPECT_EQ(Symbols(u",", u".", u","), u",.;");
    EXPECT_EQ(Symbols(u".", u",", u"."), u".,,");
    EXPECT_EQ(Symbols(u",", u",", u"."), u".,,") << "the final decimal symbol counts";
}

TEST(LocaleRules, ParseTheGroupingText)
{
    EXPECT_EQ(Grouping(u"3;0"), "3 repeated");
    EXPECT_EQ(Grouping(u"3;2;0"), "3 2 repeated");
    EXPECT_EQ(Grouping(u"3"), "3 once");
    EXPECT_EQ(Grouping(u"0"), "once");
    EXPECT_EQ(Grouping(u""), "once");
    EXPECT_EQ(Grouping(u"3;0;0"), "3 once");
    EXPECT_EQ(Grouping(u"3;2;0;0"), "3 2 once");
    EXPECT_EQ(Grouping(u"0;0"), "0 repeated");
    EXPECT_EQ(Grouping(u"3;x;2"), "3 once");
    EXPECT_EQ(Grouping(u"3x"), "once");
    EXPECT_EQ(Grouping(u"3;259; 2;0"), "3 3 2 repeated") << "stored as bytes";
    EXPECT_EQ(Grouping(u"1;1;1;1;1;1;1;1;"), "1 1 1 1 1 1 1 1 once");
}

TEST(LocaleRules, MakeTheGroupingTextFromTheCLibrarysBytes)
{
    const char mostly[] = {3, CHAR_MAX, 0};
    const char none[] = {CHAR_MAX, 0};
    EXPECT_EQ(FromC("\3"), u"3;0");
    EXPECT_EQ(FromC("\3\2"), u"3;2;0");
    EXPECT_EQ(FromC(mostly), u"3");
    EXPECT_EQ(FromC(""), u"0");
    EXPECT_EQ(FromC(none), u"0");
    EXPECT_EQ(FromC("\144\12\1\1\1\1\1\1\1"), u"100;10;1;1;1;1;1");
}

} // namespace
