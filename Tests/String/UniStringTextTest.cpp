// Views, concatenation, comparison, case, trimming, splitting, and the ways in and out of the standard
// library.
#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

using namespace QV;
using namespace QV::Literals;

namespace {

template <class T>
T& NullReference()
{
    T* volatile pointer = nullptr;
    return *pointer;
}

std::vector<std::u16string> Parts(const Array<UniString>& parts)
{
    std::vector<std::u16string> texts;
    for (const UniString& part : parts) {
        texts.emplace_back(part);
    }
    return texts;
}

template <class Text>
concept CanBeViewed = requires(Text&& text)
{
    std::forward<Text>(text).GetPrefix(1);
}
|| requires(Text&& text)
{
    std::forward<Text>(text)(0, 1);
}
|| requires(Text&& text)
{
    std::forward<Text>(text).GetView();
}
|| requires(Text&& text)
{
    std::forward<Text>(text).begin();
}
|| std::is_convertible_v<Text&&, std::u16string_view>;
static_assert(CanBeViewed<UniString&> && CanBeViewed<const UniString&>);
static_assert(!CanBeViewed<UniString> && !CanBeViewed<const UniString>, "a view of a temporary dangles");

TEST(UniStringViews, ReadAndReplaceTheirRange)
{
    UniString text(u"key=value");
    const UniString& same = text;
    EXPECT_EQ(text.GetPrefix(3), "key");
    EXPECT_EQ(same.GetSuffix(5), u"value");
    EXPECT_EQ(same(1, 2)[1], UniChar('y'));
    EXPECT_TRUE(same(9).IsEmpty());
    EXPECT_THROW(same(10), IllegalReferenceException);
    EXPECT_THROW(same(8, 2), IllegalReferenceException);
    EXPECT_THROW(text.GetSuffix(10), IllegalReferenceException);
    EXPECT_EQ(UniString(same(4)), u"value");

    auto name = text.GetPrefix(3);
    name = "title";
    EXPECT_EQ(text, u"title=value");
    EXPECT_EQ(name, "title") << "covers what was put there";
    name = UniChar('t');
    text(2) = text(0, 1);
    EXPECT_EQ(text, "t=t");
    name = text;
    EXPECT_EQ(text, "t=t=t");
    text(0, 2) = same(1);
    EXPECT_EQ(text, "=t=tt=t");
    text(0, 4) = reinterpret_cast<const unsigned char*>("ab");
    text(2) = u"c";
    EXPECT_EQ(text, "abc");
    const auto view = same.GetSuffix(2);
    text.Truncate(2);
    EXPECT_EQ(view, "b") << "never beyond the string";
    text.Truncate(1);
    EXPECT_TRUE(UniString(view).IsEmpty());
    EXPECT_THROW(text(0, 1) = static_cast<const char*>(nullptr), NullPointerException);
}

TEST(UniStringViews, FindWhatIsEnclosed)
{
    const auto between = [](const UniString& text, unsigned int start = 0,
                            unsigned int count = UniString::Npos) {
        const auto view = text(UniChar('('), UniChar(')'), start, count);
        return std::make_pair(view.GetStart(), std::u16string(view.GetView()));
    };
    using Answer = std::pair<unsigned int, std::u16string>;
    EXPECT_EQ(between(u"f(x)"), Answer(2, u"x"));
    EXPECT_EQ(between(u"f(x"), Answer(3, u""));
    EXPECT_EQ(between(u")f()x)"), Answer(3, u""));
    EXPECT_EQ(between(u"(a)(bc)", 1), Answer(4, u"bc"));
    EXPECT_EQ(between(u"(a)(bc)", 3, 3), Answer(6, u""));
    UniString text(u"f(x)");
    text.GetSubstring('(', ')') = "y, z";
    EXPECT_EQ(text, "f(y, z)");
    EXPECT_EQ(text(u'(', u',', 1), "y") << "characters, not positions";
}

TEST(UniStringConcatenation, JoinsEveryKindOfText)
{
    UniString text(u"text");
    const UniString& same = text;
    const unsigned short units[] = {'u', 'n', 0};
    EXPECT_EQ(text + " and \xC3\xA9" + units + UniChar('!') + same(1, 2) + text(0, 1),
              u"text and \u00E9un!ext");
    EXPECT_EQ("<" + text + '>' + u"\u20AC" + text[0], u"<text>\u20ACt");
    EXPECT_EQ(UniChar('a') + UniChar('b') + (text + "-") + (text + "."), "abtext-text.");
    EXPECT_EQ(text + (text + "-"), "texttext-");
    EXPECT_EQ(UniString(text + "").GetLength(), 4u);
    EXPECT_TRUE((UniString() + "" + u"").operator+(UniString()) == UniString());

    text = text + text;
    text = UniChar('(') + text(4) + same.GetPrefix(2) + ')';
    EXPECT_EQ(text, "(textte)");
    text = UniChar('-') + text.ToUStr() + "-";
    EXPECT_EQ(text, "-(textte)-");
    text += text + "x";
    EXPECT_EQ(text, "-(textte)--(textte)-x");
    const UniString moved = std::move(text);
    EXPECT_EQ(UniString(text + "after"), "after") << "a string that was moved from counts as empty";

    EXPECT_THROW(moved + static_cast<const char*>(nullptr), NullPointerException);
    EXPECT_THROW("x" + NullReference<UniString>(), NullReferenceException);
    EXPECT_THROW(moved + "x" + NullReference<const UniString>(), NullReferenceException);
}

TEST(UniStringConcatenation, TakesAnyNumberOfOperands)
{
    const UniString part(u"ab");
    const UniString none;
    UniString chained;
    UniString appended;
    for (int count = 0; count < 30; ++count) {
        auto chain = none + UniChar('#');
        appended.Assign(UniChar('#'));
        for (int i = 0; i < count; ++i) {
            const auto& whole = i % 2 == 0 ? chain + part : chain + "c";
            EXPECT_EQ(&whole, &chain) << "the same object";
            appended += i % 2 == 0 ? part : UniString("c");
        }
        auto copy = chain;
        EXPECT_EQ(UniString(chain), appended);
        copy + "x";
        EXPECT_EQ(UniString(copy), UniString(appended + "x"));
        EXPECT_EQ(UniString("<" + chain), UniString("<" + appended));
        copy = chain;
        chained = copy;
        EXPECT_EQ(chained, appended);
    }
}

TEST(UniStringComparison, EqualityIsByUnits)
{
    const UniString text(u"caf\u00E9");
    EXPECT_TRUE(text == u"caf\u00E9" && text == "caf\xC3\xA9" && "caf\xC3\xA9" == text);
    EXPECT_TRUE(text(0, 3) == "caf" && text(0, 3) == UniString(text, 0, 3) && text(0, 1) == text(0, 1));
    EXPECT_TRUE(text != "caf" && text != "cafe\xCC\x81" && text(1) != text);
    EXPECT_TRUE(text == std::u16string(u"caf\u00E9") && text == std::u16string_view(text));
    EXPECT_TRUE(UniString() == "" && "" != text && text != "");
    EXPECT_TRUE(text + "" == text);
    EXPECT_FALSE(u"abc"_us == u"ABC");
    const std::string ascii(300, 'x');
    const UniString longer(ascii.c_str());
    EXPECT_TRUE(longer == ascii.c_str());
    EXPECT_FALSE(longer == (ascii + "\xC3\xA9").c_str());
    EXPECT_THROW((void)(text == static_cast<const char*>(nullptr)), NullPointerException);
    EXPECT_THROW((void)(text == static_cast<const unsigned short*>(nullptr)), NullPointerException);
    EXPECT_THROW((void)(text < NullReference<UniString>()), NullReferenceException);
    EXPECT_THROW((void)text.Compare(NullReference<UniString>()), NullReferenceException);
}

TEST(UniStringComparison, OrderIsTheLocales)
{
    const UniString lower(u"apple");
    EXPECT_TRUE(lower < u"Banana"_us && lower <= u"Banana"_us && u"Banana"_us > lower && !(lower >= u"b"_us));
    EXPECT_TRUE(lower <= lower && lower >= lower && !(lower < lower));
    EXPECT_TRUE(lower(0, 1) < u"b"_us);
    EXPECT_EQ(u"a"_us.Compare(u"b"), UniChar::Less);
    EXPECT_EQ(u"abc"_us.Compare(u"ABC", UniChar::IgnoreCase), UniChar::Equal);
    EXPECT_TRUE(u"abc"_us.IsEqual(u"ABC", UniChar::IgnoreCase));
    EXPECT_FALSE(u"abc"_us.IsEqual(u"ABC"));
    EXPECT_EQ(UniString().Compare(u"a"), UniChar::Less);
}

TEST(UniStringComparison, NaturalOrderTakesDigitsAsNumbers)
{
    EXPECT_EQ(NaturalCompare(u"page 9", u"page 10"), UniChar::Less);
    EXPECT_EQ(NaturalCompare(u"a10b", u"a9b"), UniChar::Greater);
    EXPECT_EQ(NaturalCompare(u"a2", u"b1"), UniChar::Less);
    EXPECT_EQ(NaturalCompare(u"img12", u"IMG12", UniChar::IgnoreCase), UniChar::Equal);
    EXPECT_EQ(NaturalCompare(u"x", u"x"), UniChar::Equal);
    EXPECT_EQ(NaturalCompare(UniString(std::u16string_view(u"a\0b", 3)), u"a"), UniChar::Equal);
    EXPECT_THROW(NaturalCompare(NullReference<UniString>(), u"a"), NullReferenceException);
}

TEST(UniStringCase, MapsRangesAndForms)
{
    UniString text(u"Stra\u00DFe \u0416\u0436 x");
    const UniString sharer = text;
    text.SetToUpperCase(0, 4);
    EXPECT_EQ(text, u"STRA\u00DFe \u0416\u0436 x");
    EXPECT_EQ(sharer.ToUpperCase(7), u"Stra\u00DFe \u0416\u0416 X");
    EXPECT_EQ(text.ToLowerCase(), u"stra\u00DFe \u0436\u0436 x");
    text.SetToLowerCase(3, 0);
    EXPECT_EQ(sharer, u"Stra\u00DFe \u0416\u0436 x");
    UniString kana(u"x\uFF76\uFF9Ey");
    kana.SetToFullWidth(1, 2);
    EXPECT_EQ(kana, u"x\u30ACy");
    kana.SetToHalfWidth();
    EXPECT_EQ(kana, u"x\uFF76\uFF9Ey");
    EXPECT_EQ(u"e\u0301\uFB01"_us.ToComposed(), u"\u00E9\uFB01");
    EXPECT_EQ(u"\u00E9"_us.ToDecomposed(), u"e\u0301");
    EXPECT_EQ(u"\uFB01"_us.ToCompatibilityComposed(), u"fi");
    EXPECT_EQ(u"\uFB01\u00E9"_us.ToCompatibilityDecomposed(), u"fie\u0301");
    EXPECT_EQ(UniString(u"\xD800\u00E9").ToDecomposed(), u"\xD800\u00E9");
    EXPECT_TRUE(u"plain"_us.IsASCII() && UniString().IsASCII());
    EXPECT_FALSE(sharer.IsASCII());
    EXPECT_TRUE(UniString().ToUpperCase().IsEmpty());
}

// Runs of ASCII and other text take different ways; each unit must come out as it does alone.
TEST(UniStringCase, MapsEveryUnitAsItDoesAlone)
{
    std::u16string units;
    for (char32_t c = 1; c < 0x10000; ++c) {
        units += c >= 0xD800 && c < 0xE000 ? u'-' : static_cast<char16_t>(c);
    }
    std::u16string mixed = units;
    std::mt19937 random(5);
    for (char16_t& unit : mixed) {
        unit = random() % 3 == 0 ? unit : static_cast<char16_t>(u'@' + random() % 64);
    }
    for (const std::u16string& text : {units, mixed}) {
        const UniString upper = UniString(text).ToUpperCase();
        const UniString lower = UniString(text).ToLowerCase();
        ASSERT_EQ(upper.GetLength(), text.size());
        ASSERT_EQ(lower.GetLength(), text.size());
        for (unsigned int i = 0; i < text.size(); ++i) {
            const unsigned short unit = text[i];
            unsigned short mapped[2];
            ASSERT_TRUE(UniChar::ConvertCase(&unit, 1, mapped, 1, UniChar::UpperCase));
            ASSERT_TRUE(UniChar::ConvertCase(&unit, 1, mapped + 1, 1, UniChar::LowerCase));
            ASSERT_EQ(upper[i], UniChar(mapped[0])) << unit;
            ASSERT_EQ(lower[i], UniChar(mapped[1])) << unit;
        }
    }
}

TEST(UniStringTrim, DeletesAtTheEnds)
{
    UniString text(u"  \t x \n");
    text.Trim();
    EXPECT_EQ(text, "x");
    text = u"--x-y---"_us;
    text.TrimLeft(UniChar('-'));
    EXPECT_EQ(text, "x-y---");
    text.TrimRight(UniChar('-'));
    EXPECT_EQ(text, "x-y");
    const UniString sharer = text;
    text.Trim(UniChar('-'));
    EXPECT_EQ(text.GetView().data(), sharer.GetView().data()) << "nothing to delete, nothing copied";
    text = u"\t\n "_us;
    text.Trim();
    EXPECT_TRUE(text.CheckState() && text.IsEmpty());
    text.TrimRight();
    text.TrimLeft(UniChar('x'));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(UniStringSplit, KeepsTheRulesForEmptyParts)
{
    using Texts = std::vector<std::u16string>;
    Array<UniString> parts;
    EXPECT_EQ(u"a,,b,"_us.Split(u",", &parts), 4u);
    EXPECT_EQ(Parts(parts), (Texts{u"a", u"", u"b", u""}));
    EXPECT_EQ(UniString().Split(u",", &parts), 1u);
    EXPECT_EQ(Parts(parts), Texts{u""});
    EXPECT_EQ(u"abc"_us.Split(u"", &parts), 0u);
    EXPECT_TRUE(parts.IsEmpty());
    EXPECT_EQ(u"abc"_us.Split(u"b", nullptr), 0u);
    EXPECT_EQ(u"a::b:c"_us.Split(u"::", &parts), 2u);
    EXPECT_EQ(Parts(parts), (Texts{u"a", u"b:c"}));

    EXPECT_EQ(u",a;b,"_us.Split(u",;", UniString::DropEmptyParts, &parts), 2u);
    EXPECT_EQ(Parts(parts), (Texts{u"a", u"b"}));
    EXPECT_EQ(u",a;b,"_us.Split(u",;", UniString::KeepEmptyParts, &parts), 4u);
    EXPECT_EQ(UniString().Split(u",", UniString::KeepEmptyParts, &parts), 1u);
    EXPECT_EQ(UniString().Split(u",", UniString::DropEmptyParts, &parts), 0u);
    EXPECT_EQ(u"ab"_us.Split(u"", UniString::DropEmptyParts, &parts), 1u);

    parts.Append(u"x,y"_us);
    EXPECT_EQ(parts.GetLast().Split(u",", &parts), 2u) << "the array may hold the string itself";
    EXPECT_EQ(Parts(parts), (Texts{u"x", u"y"}));
}

TEST(UniStringSplit, AgreesWithAPlainLoop)
{
    std::mt19937 random(3);
    Array<UniString> parts;
    for (int round = 0; round < 300; ++round) {
        std::u16string text(random() % 2000, u'a');
        for (char16_t& unit : text) {
            unit = random() % (1 + round % 9) == 0 ? u',' : u'x';
        }
        const std::u16string separator = round % 2 == 0 ? u"," : u",x";
        std::vector<std::u16string> expected;
        for (size_t start = 0; start <= text.size();) {
            const size_t end = std::min(text.find(separator, start), text.size());
            expected.push_back(text.substr(start, end - start));
            start = end + separator.size();
        }
        const UniString string(text);
        ASSERT_EQ(string.Split(UniString(separator), &parts), expected.size());
        ASSERT_EQ(Parts(parts), expected);
        if (separator.size() == 1) {
            std::erase(expected, u"");
            string.Split(u";,?!/#+-*", UniString::DropEmptyParts, &parts);
            ASSERT_EQ(Parts(parts), expected);
        }
    }
}

TEST(UniStringInterplay, WithTheStandardLibrary)
{
    const UniString text(u8"a\u00E9\U0001F600"_us);
    EXPECT_EQ(std::u16string(text), u"a\u00E9\U0001F600");
    EXPECT_EQ(std::u16string(text.begin()->IsASCII(), u'x'), u"x");
    EXPECT_EQ(std::distance(text.begin(), text.end()), 4);
    const auto characters = UniString(u"a\U0001F600\xDC00\xD83D").GetLength();
    EXPECT_EQ(characters, 5u);
    const UniString broken(u"a\U0001F600\xDC00\xD83D");
    const auto points = broken.GetCodePoints();
    EXPECT_EQ(std::u32string(points.begin(), points.end()), std::u32string({'a', 0x1F600, 0xDC00, 0xD83D}));
    std::ostringstream stream;
    stream << text << '|' << text(0, 1) << '|' << broken;
    EXPECT_EQ(stream.str(), "a\xC3\xA9\xF0\x9F\x98\x80|a|a\xF0\x9F\x98\x80\xEF\xBF\xBD\xEF\xBF\xBD");

    std::unordered_map<UniString, int, UniStringHash, std::equal_to<>> counts;
    counts[text] = 7;
    EXPECT_EQ(counts.find(std::u16string_view(text))->second, 7);
    EXPECT_EQ(std::hash<UniString>()(text), UniStringHash()(std::u16string_view(text)));
    UniString grown;
    grown.Append(std::u16string_view(u"xyz").substr(1));
    grown.Append(std::u16string_view());
    grown += u"\u00E9";
    EXPECT_EQ(UniString(grown.ToCStr().GetText()), grown);
    const UniString::CStr utf8 = grown.ToCStr(0, UniString::Npos, UTF8CharCode);
    EXPECT_EQ(UniString(utf8.GetUTF8View()), grown);
    EXPECT_EQ(utf8.GetView(), "yz\xC3\xA9");
}

} // namespace
