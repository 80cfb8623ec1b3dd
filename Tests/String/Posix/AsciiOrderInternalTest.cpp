#include <QVRoot/String/AsciiOrderPosixImpl.hpp>

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>

namespace QV::Impl {
namespace {

const char* const locales[] = {
    "",   "en", "de__PHONEBOOK", "sv", "da", "cs", "sk", "hu", "es__TRADITIONAL", "th", "ja",
    "zh", "ko", "fr_CA",         "mt", "lt", "et", "cy"};

class OpenCollator {
public:
    explicit OpenCollator(const char* locale, bool numeric = false)
    {
        UErrorCode error = U_ZERO_ERROR;
        collator_ = ucol_open(locale, &error);
        ucol_setAttribute(collator_, UCOL_NUMERIC_COLLATION, numeric ? UCOL_ON : UCOL_OFF, &error);
        ucol_setAttribute(collator_, UCOL_NORMALIZATION_MODE, UCOL_ON, &error);
        EXPECT_TRUE(U_SUCCESS(error)) << locale;
    }
    ~OpenCollator() { ucol_close(collator_); }

    UCollator* Get() const { return collator_; }
    TextOrder Compare(const std::u16string& a, const std::u16string& b, bool ignoreCase)
    {
        ucol_setStrength(collator_, ignoreCase ? UCOL_SECONDARY : UCOL_TERTIARY);
        const int order = ucol_strcoll(collator_, a.data(), static_cast<int>(a.size()), b.data(),
                                       static_cast<int>(b.size()));
        return static_cast<TextOrder>(order + TextEqual);
    }

private:
    UCollator* collator_ = nullptr;
};

std::optional<TextOrder> Compare(const AsciiOrder& order, const std::u16string& a, const std::u16string& b,
                                 bool ignoreCase)
{
    const TextOrder answer =
        order.Compare(reinterpret_cast<const UInt16*>(a.data()), static_cast<int>(a.size()),
                      reinterpret_cast<const UInt16*>(b.data()), static_cast<int>(b.size()), ignoreCase);
    return answer == AsciiOrder::undecided ? std::nullopt : std::optional(answer);
}

/// Few different characters, so that texts share starts, differ in case only, and meet marks that join.
std::u16string MakeText(std::mt19937& random)
{
    static const std::u16string usual = u"abcCHhlLzZ-' 0019_";
    static const std::u16string unusual =
        u"\x01\x7F\u0661\u00B7\u0300\u030A\u0301\u00E5\u0131\u00DF\uFF21\u3042";
    std::u16string text(random() % 8, u'a');
    for (char16_t& unit : text) {
        const auto choice = random() % 40;
        unit = choice == 0  ? unusual[random() % unusual.size()]
               : choice < 4 ? static_cast<char16_t>(random() % 0x80)
                            : usual[random() % usual.size()];
    }
    return text;
}

TEST(AsciiOrder, AnswersAsTheCollatorOrNotAtAll)
{
    std::mt19937 random(1);
    for (const char* const locale : locales) {
        for (const bool numeric : {false, true}) {
            OpenCollator collator(locale, numeric);
            AsciiOrder order;
            order.Learn(collator.Get());
            for (int round = 0; round < 20000; ++round) {
                const std::u16string start = random() % 2 == 0 ? MakeText(random) + MakeText(random) : u"";
                const std::u16string a = start + MakeText(random);
                const std::u16string b = random() % 4 == 0 ? a + MakeText(random) : start + MakeText(random);
                const bool ignoreCase = round % 2 != 0;
                if (const auto answer = Compare(order, a, b, ignoreCase)) {
                    ASSERT_EQ(*answer, collator.Compare(a, b, ignoreCase))
                        << locale << (numeric ? ", numbers: " : ": ") << testing::PrintToString(a) << " and "
                        << testing::PrintToString(b);
                }
            }
        }
    }
}

TEST(AsciiOrder, AnswersForPlainTextInMostLocales)
{
    for (const char* const locale : {"", "en", "de", "sv", "fr_CA", "ja", "zh"}) {
        OpenCollator collator(locale);
        AsciiOrder order;
        order.Learn(collator.Get());
        EXPECT_EQ(Compare(order, u"Hello, world 1", u"hello, World 2", false), TextLess) << locale;
        EXPECT_EQ(Compare(order, u"Hello, world", u"hello, World", true), TextEqual) << locale;
        EXPECT_EQ(Compare(order, u"a\u0300", u"b", true), std::nullopt) << locale;
    }
    OpenCollator numbers("", true);
    AsciiOrder natural;
    natural.Learn(numbers.Get());
    EXPECT_EQ(Compare(natural, u"page 0099", u"page 100", false), TextLess);
    EXPECT_EQ(Compare(natural, u"a7b", u"A007B", true), TextEqual);
    const std::u16string longNumber(254, u'9');
    EXPECT_EQ(Compare(natural, longNumber + u"x", longNumber + u"y", true), TextLess);
    EXPECT_EQ(Compare(natural, longNumber + u"91", longNumber + u"92", true), std::nullopt);
    OpenCollator czech("cs");
    AsciiOrder order;
    order.Learn(czech.Get());
    EXPECT_EQ(Compare(order, u"a", u"b", false), std::nullopt);
}

} // namespace
} // namespace QV::Impl
