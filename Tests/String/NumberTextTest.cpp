#include <QVRoot/String/LocaleSymbols.hpp>
#include <QVRoot/String/NumberText.hpp>

#include <cfenv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

using namespace QV;

namespace {

std::u16string Widened(const std::string& text)
{
    return std::u16string(text.begin(), text.end());
}

/// The same answer and value for both units.
template <class Number>
bool Read(const std::string& text, Number& value, ToValueMode mode = ToValueWholeText,
          TrimWSMode trim = TrimWSAllowed)
{
    Number wide = value;
    const bool isWide = strtovalue(Widened(text).c_str(), wide, mode, trim);
    const bool isNarrow = strtovalue(text.c_str(), value, mode, trim);
    EXPECT_EQ(isNarrow, isWide) << text;
    EXPECT_EQ(std::memcmp(&value, &wide, sizeof(value)), 0) << text;
    return isNarrow;
}

template <class Number>
Number ValueOf(const std::string& text)
{
    Number value = 99;
    EXPECT_TRUE(Read(text, value)) << text;
    return value;
}

template <class Number>
std::string TextOf(Number value)
{
    char text[400];
    EXPECT_TRUE(valuetostr(value, text, sizeof(text)));
    return text;
}

/// Differs only in ways that a comparison of values would not see.
template <class Real>
bool IsSame(Real a, Real b)
{
    return std::memcmp(&a, &b, sizeof(a)) == 0 || (std::isnan(a) && std::isnan(b));
}

/// A text against `strtod` and `strtof`, which tell where the number ends.
void CompareWithC(const std::string& text)
{
    char* end = nullptr;
    const double expected = std::strtod(text.c_str(), &end);
    const bool isNumber = end != text.c_str();
    double value = 99;
    ASSERT_EQ(Read(text, value, ToValueBeginning), isNumber) << text;
    ASSERT_TRUE(IsSame(value, isNumber ? expected : 99)) << text;
    ASSERT_EQ(Read(text, value), isNumber && end[std::strspn(end, " \t\n\v\f\r")] == '\0') << text;
    float single = 99;
    Read(text, single, ToValueBeginning);
    ASSERT_TRUE(IsSame(single, isNumber ? std::strtof(text.c_str(), nullptr) : 99)) << text;
}

TEST(StrToValue, FollowsItsTwoModes)
{
    int value = 0;
    EXPECT_TRUE(Read("12abc", value, ToValueBeginning));
    EXPECT_EQ(value, 12);
    value = 0;
    EXPECT_FALSE(Read("12abc", value));
    EXPECT_EQ(value, 12) << "stored all the same";
    EXPECT_TRUE(Read("12 ", value));
    EXPECT_TRUE(Read("12 \v\f\r\n", value));
    EXPECT_FALSE(Read("12 ", value, ToValueWholeText, TrimWSRefused));
    EXPECT_FALSE(Read(" 12", value, ToValueWholeText, TrimWSRefused));
    EXPECT_FALSE(Read("12x\n", value, ToValueBeginning, TrimWSRefused));
    EXPECT_TRUE(Read("12x", value, ToValueBeginning, TrimWSRefused));
    EXPECT_TRUE(Read("\v12\f", value, ToValueWholeText, TrimWSRefused)) << "these two do not count there";
    EXPECT_TRUE(Read("12", value, static_cast<ToValueMode>(7), static_cast<TrimWSMode>(7)));
    EXPECT_FALSE(Read("12x", value, static_cast<ToValueMode>(7)));
    value = 5;
    for (const char* const text : {"", " ", "x", "-", "+", "- 1", "+-1", ".5"}) {
        EXPECT_FALSE(Read(text, value, ToValueBeginning)) << text;
    }
    EXPECT_FALSE(strtovalue(static_cast<const char*>(nullptr), value));
    EXPECT_EQ(value, 5);
    const unsigned short digitsLookAlike[] = {0x0130 + '1' - '0', 0x0631, 0};
    EXPECT_FALSE(strtovalue(digitsLookAlike, value));
}

TEST(StrToValue, StopsAtTheLimitsOfEachType)
{
    EXPECT_EQ(ValueOf<int>("99999999999"), 2147483647);
    EXPECT_EQ(ValueOf<int>("-99999999999999999999999"), std::numeric_limits<int>::min());
    EXPECT_EQ(ValueOf<int>("-2147483648"), std::numeric_limits<int>::min());
    EXPECT_EQ(ValueOf<int>("0000000000000000000000000012"), 12);
    EXPECT_EQ(ValueOf<unsigned int>("-1"), 4294967295u);
    EXPECT_EQ(ValueOf<unsigned int>("4294967296"), 4294967295u);
    EXPECT_EQ(ValueOf<unsigned int>("-4294967297"), 4294967295u);
    EXPECT_EQ(ValueOf<short>("70000"), 4464) << "cut, as %hd does";
    EXPECT_EQ(ValueOf<short>("99999999999"), -1);
    EXPECT_EQ(ValueOf<unsigned short>("-1"), 65535);
    EXPECT_EQ(ValueOf<Int64>("9223372036854775808"), std::numeric_limits<Int64>::max());
    EXPECT_EQ(ValueOf<Int64>("-9223372036854775808"), std::numeric_limits<Int64>::min());
    EXPECT_EQ(ValueOf<Int64>("-99999999999999999999"), std::numeric_limits<Int64>::min());
    EXPECT_EQ(ValueOf<UInt64>("18446744073709551615"), ~UInt64{0});
    EXPECT_EQ(ValueOf<UInt64>("18446744073709551616"), ~UInt64{0});
    EXPECT_EQ(ValueOf<UInt64>("-1"), ~UInt64{0});
    EXPECT_EQ(ValueOf<UInt64>("-2"), ~UInt64{1});
    EXPECT_EQ(ValueOf<long>("-99999999999999999999"), std::numeric_limits<long>::min());
    EXPECT_EQ(ValueOf<unsigned long>("99999999999999999999"), std::numeric_limits<unsigned long>::max());
}

TEST(StrToValue, TakesTheFormsOfFloatingPointThatCTakes)
{
    for (const char* const text : {"1e",
                                   "1e+",
                                   "1E5",
                                   "1e5.",
                                   "1.",
                                   ".5",
                                   ".",
                                   "-.",
                                   "1..2",
                                   "0x",
                                   "0xg",
                                   "0x.8p1",
                                   "0X1P-3",
                                   "0x1p",
                                   "0x1p+",
                                   "0x.",
                                   "inf",
                                   "-INF",
                                   "infi",
                                   "Infinity",
                                   "infinit",
                                   "nan",
                                   "NaN(",
                                   "nan(12_aZ)",
                                   "nan(-)",
                                   "+nan()",
                                   "n",
                                   "i",
                                   "1d",
                                   "1f",
                                   "  -2.5  ",
                                   "\v1",
                                   "1e999",
                                   "-1e999",
                                   "1e-999",
                                   "-1e-999",
                                   "1e99999999999999999999",
                                   "0e99999999999",
                                   "1e-99999999999999999999",
                                   "0x1p9999999999",
                                   "0x1p-1074",
                                   "0x1p-1075",
                                   "0x1.8p-1075",
                                   "0x0.00000000000000000001p-10",
                                   "0x1.fffffffffffff8p1023",
                                   "0x1.fffffffffffff7p1023",
                                   "0x123456789abcdef01234567p-3",
                                   "2.4703282292062327e-324",
                                   "2.4703282292062328e-324",
                                   "1.7976931348623158e308",
                                   "1.7976931348623159e308",
                                   "3.4028235677973366e38",
                                   "0.000000000000000000000000000000000000000000000000000000000000000001e66",
                                   "9007199254740993",
                                   "9007199254740992.99999999999999999999",
                                   "123456789012345678901234567890",
                                   "1.00000000000000011102230246251565404236316680908203125",
                                   "1.00000000000000011102230246251565404236316680908203124"}) {
#ifdef _WIN32
        if (std::strpbrk(text, "xXnN") != nullptr) {
            continue; // where that C library has rules of its own
        }
#endif
        CompareWithC(text);
    }
    // A tie that only the last of a thousand digits decides.
    const std::string tie = "1.00000000000000011102230246251565404236316680908203125";
    CompareWithC(tie + std::string(1000, '0'));
    CompareWithC(tie + std::string(1000, '0') + "1");
    CompareWithC(std::string(1000, '0') + "." + std::string(1000, '0') + "1e1000");
    CompareWithC(std::string(400, '9') + "e-300");
}

TEST(StrToValue, RoundsToNearestWhateverTheProcessorDoes)
{
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(mode);
        const double values[] = {ValueOf<double>("0.3"), ValueOf<double>("0.1"), ValueOf<double>("1e23")};
        const float single = ValueOf<float>("1.1");
        std::fesetround(FE_TONEAREST);
        EXPECT_TRUE(values[0] == 0.3 && values[1] == 0.1 && values[2] == 1e23 && single == 1.1f) << mode;
    }
}

TEST(StrToValue, AgreesWithTheCLibraryOnRandomNumbers)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const UInt64 bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        char text[64];
        std::snprintf(text, sizeof(text), i % 2 != 0 ? "%.*e" : "%.*g", static_cast<int>(random() % 20),
                      value);
        if (std::isfinite(value)) {
            CompareWithC(text);
        }
        std::string digits;
        for (UInt64 count = 1 + random() % 30; count != 0; --count) {
            digits += static_cast<char>('0' + random() % 10);
        }
        digits.insert(random() % digits.size(), ".");
        CompareWithC(digits + "e" + std::to_string(static_cast<int>(random() % 700) - 350));
        EXPECT_EQ(ValueOf<Int64>(std::to_string(static_cast<Int64>(bits))), static_cast<Int64>(bits));
        EXPECT_EQ(ValueOf<int>(std::to_string(static_cast<int>(bits >> i % 64))),
                  static_cast<int>(bits >> i % 64));
    }
}

TEST(ValueToStr, WritesWhatTheCLibraryWrites)
{
    EXPECT_EQ(TextOf(short{-32768}) + TextOf(static_cast<unsigned short>(65535)), "-3276865535");
    EXPECT_EQ(TextOf(std::numeric_limits<Int64>::min()), "-9223372036854775808");
    EXPECT_EQ(TextOf(~UInt64{0}) + TextOf(-5l) + TextOf(5ul) + TextOf(0), "18446744073709551615-550");
    EXPECT_EQ(TextOf(-0.0) + TextOf(1.5f) + TextOf(-0.00000049), "-0.0000001.500000-0.000000");
    EXPECT_EQ(TextOf(std::numeric_limits<double>::infinity()) +
                  TextOf(-std::numeric_limits<float>::infinity()),
              "inf-inf");
    std::mt19937_64 random(2);
    for (int i = 0; i < 20000; ++i) {
        const UInt64 bits = random();
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        if (i % 4 != 0) { // numbers of everyday size, and ties in the last decimal
            value = static_cast<double>(static_cast<Int64>(bits) >> bits % 60) /
                    static_cast<double>(i % 4 == 1 ? UInt64{1} << i % 64 : 1000000 * 2);
        }
        char expected[400];
        std::snprintf(expected, sizeof(expected), "%f", value);
        if (std::isfinite(value)) {
            ASSERT_EQ(TextOf(value), expected);
        }
        for (const UInt64 integer :
             {bits >> i % 64, UInt64{10000000000000000000u} / (i % 2 + 1), UInt64(i)}) {
            ASSERT_EQ(TextOf(integer), std::to_string(integer));
            ASSERT_EQ(TextOf(static_cast<int>(integer)), std::to_string(static_cast<int>(integer)));
        }
    }
}

TEST(ValueToStr, CutsAtTheEndOfTheBuffer)
{
    for (std::size_t size = 0; size < 16; ++size) {
        char text[24];
        std::memset(text, '#', sizeof(text));
        EXPECT_EQ(valuetostr(-123456, text, size), size > 1);
        EXPECT_EQ(std::string(text, size), size == 0 ? ""
                                                     : std::string("-123456").substr(0, size - 1) +
                                                           std::string(1, '\0') +
                                                           std::string(size > 8 ? size - 8 : 0, '#'));
        EXPECT_EQ(text[size], '#');
        std::memset(text, '#', sizeof(text));
        EXPECT_EQ(valuetostr(-2.5, text, size), size > 1);
        EXPECT_EQ(std::string(text, size).substr(0, std::min<std::size_t>(size, 10)),
                  (std::string("-2.500000").substr(0, size == 0 ? 0 : size - 1) + '\0').substr(0, size));
        EXPECT_EQ(text[size], '#');
    }
    EXPECT_FALSE(valuetostr(1, nullptr, 8));
}

TEST(DigitGrouping, RepeatsTheLastSizeWithoutEnd)
{
    const DigitGroupingSpecification indian({3, 2}, DigitGroupingSpecification::RepeatLast);
    auto group = indian.begin();
    const auto start = group;
    EXPECT_EQ(*group, 3);
    EXPECT_TRUE(group == start);
    for (int i = 0; i < 5; ++i) {
        ++group;
        EXPECT_EQ(*group, 2);
        EXPECT_TRUE(group != indian.end());
    }
    EXPECT_FALSE(group == group) << "behind the list an iterator equals nothing";
    const DigitGroupingSpecification once({3}, DigitGroupingSpecification::NoRepeat);
    group = once.begin();
    EXPECT_EQ(*group, 3);
    EXPECT_TRUE(++group == once.end());
    EXPECT_TRUE(++group == once.end());
    EXPECT_EQ(*group, 0);
    EXPECT_FALSE(once.begin() == DigitGroupingSpecification(once).begin()) << "of another specification";
    EXPECT_EQ(*DigitGroupingSpecification({}, DigitGroupingSpecification::RepeatLast).begin(), 0);
}

TEST(LocaleSymbols, NeverCollide)
{
    EXPECT_NE(GetDecimalSymbol(), GetDigitGroupingSymbol());
    EXPECT_NE(GetDecimalSymbol(), GetListSeparatorSymbol());
    EXPECT_LE(GetDigitGroupingSpecification().GetSizes().GetCount(), 9u);
}

} // namespace
