#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/CheckedFormat.hpp>
#include <QVRoot/String/StringFormat.hpp>
#include <QVRoot/String/UniStringFormat.hpp>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>

using namespace QV;

namespace {

template <class... Arguments>
std::string Printed(const char* format, const Arguments&... arguments)
{
    char text[4096];
    const int count = checkedsnprintf(text, sizeof(text), format, arguments...);
    EXPECT_EQ(text[count], '\0');
    return std::string(text, static_cast<std::size_t>(count));
}

std::string Narrow(const UniString& text)
{
    return std::string(text.ToCStr());
}

template <class... Arguments>
std::string PrintedByC(const char* format, Arguments... arguments)
{
    char text[4096];
    const int count = std::snprintf(text, sizeof(text), format, arguments...);
    return std::string(text, static_cast<std::size_t>(count));
}

#ifdef _WIN32
constexpr bool cLibraryIsPlain = false; // "%a" and what is not finite have forms of their own there
#else
constexpr bool cLibraryIsPlain = true;
#endif

/// Prints under every combination of flags with some widths and precisions, and compares with the C library:
/// as 8-bit and as UTF-16 text.
template <class Argument>
void CompareOverGrid(const std::string& conversion, Argument value)
{
    for (UInt32 flags = 0; flags < 32; ++flags) {
        for (const char* const width : {"", "1", "9", "40"}) {
            for (const char* const precision : {"", ".", ".1", ".3", ".15"}) {
                std::string format = "<%";
                for (UInt32 i = 0; i < 5; ++i) {
                    format += flags >> i & 1 ? std::string(1, "-+ #0"[i]) : "";
                }
                format += width + (precision + conversion) + ">";
                const std::string expected = PrintedByC(format.c_str(), value);
                if (!cLibraryIsPlain && std::strchr("uoxX", conversion.back()) != nullptr &&
                    format.find_first_of("# +") != std::string::npos) {
                    continue; // signs of unsigned numbers, and zeros in octal, are that C library's own
                }
                ASSERT_EQ(Printed(format.c_str(), value), expected) << format;
                ASSERT_EQ(Narrow(UniString::Printf(format.c_str(), value)), expected) << format;
            }
        }
    }
}

TEST(CheckedPrintf, PrintsIntegersAsTheCLibraryDoes)
{
    for (const char* const letter : {"d", "i", "u", "o", "x", "X"}) {
        for (const int value :
             {0, 1, -1, 42, -12345, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
            CompareOverGrid(letter, value);
            CompareOverGrid(std::string("hh") + letter, value);
            CompareOverGrid(std::string("h") + letter, value);
            CompareOverGrid(std::string("l") + letter, static_cast<long>(value));
            CompareOverGrid(std::string("ll") + letter, Int64{value} * 4294967295);
        }
        CompareOverGrid(std::string("ll") + letter, std::numeric_limits<UInt64>::max());
        CompareOverGrid(std::string("z") + letter, sizeof(int));
    }
}

TEST(CheckedPrintf, PrintsFloatingPointAsTheCLibraryDoes)
{
    const double values[] = {0.0,
                             -0.0,
                             1.0,
                             -1.5,
                             0.5,
                             2.5,
                             9.9999995,
                             0.00001234,
                             123456.0,
                             1e15,
                             1e300,
                             5e-324,
                             1.0 / 3,
                             0.15625,
                             99999.95,
                             1e-10,
                             -4096.125,
                             std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN()};
    for (const char* const letter : {"f", "F", "e", "E", "g", "G", "a", "A"}) {
        for (const double value : values) {
            if (cLibraryIsPlain || (std::isfinite(value) && std::strpbrk(letter, "aA") == nullptr)) {
                CompareOverGrid(letter, value);
            }
        }
    }
    EXPECT_EQ(Printed("%.1200f|%.900e|%#.1100g", 5e-324, 1e-300, 0.1),
              PrintedByC("%.1200f|%.900e|%#.1100g", 5e-324, 1e-300, 0.1));
    EXPECT_EQ(Printed("%.20a %a %A %F %+g", 1.5, 0.0, -5e-324, -INFINITY, NAN),
              "0x1.80000000000000000000p+0 0x0p+0 -0X0.0000000000001P-1022 -INF +nan");
    EXPECT_EQ(Printed("%Lf %lf", 2.5L, 2.5), "2.500000 2.500000");
}

TEST(CheckedPrintf, PrintsTextCharactersAndPointers)
{
    EXPECT_EQ(Printed("[%s|%5s|%-5s|%.2s|%.0s]", "abc", "abc", "abc", "abc", "abc"), "[abc|  abc|abc  |ab|]");
    EXPECT_EQ(Printed("%*d|%-*d|%*d|%.*f|%.*d", 5, 1, 5, 1, -5, 1, 2, 1.0, -1, 7),
              "    1|1    |1    |1.00|7");
    EXPECT_EQ(Printed("%c%c%3c%-3c|%%%lc", 'a', 98, 'c', 'd', u'e'), "ab  cd  |%e");
    EXPECT_EQ(
        Printed("%s %s %s %ls %hs", String("bytes"), UniString("units"), std::string("std"), u"wide", "x"),
        "bytes units std wide x");
    EXPECT_EQ(Printed("%s|%.3s", static_cast<const char*>(nullptr), static_cast<const char16_t*>(nullptr)),
              "(null)|(nu");
    EXPECT_EQ(Printed("%p", reinterpret_cast<void*>(0xDEADBEEF)), "0x00000000DEADBEEF");
    EXPECT_EQ(Printed("%22p|%-22p|", nullptr, nullptr), "    0x0000000000000000|0x0000000000000000    |");
    EXPECT_EQ(Printed("%d %d %u %d", 'a', true, u'\u20AC', static_cast<unsigned char>(200)), "97 1 8364 200");
    const std::string::size_type size = 3;
    const auto unterminated = std::make_unique<char[]>(size); // where a sanitizer sees its end
    std::memcpy(unterminated.get(), "\xC3\xBC!", size);
    const char* const start = unterminated.get();
    EXPECT_EQ(Printed("%.3s|%s", start, reinterpret_cast<const char(&)[size]>(*start)),
              "\xC3\xBC!|\xC3\xBC!");
    EXPECT_EQ(UniString::Printf("%.2s|%.1s", start, start), u"\u00FC!|\u00FC");
}

TEST(CheckedPrintf, ConvertsTextBetweenTheUnits)
{
    const UniString text(u"gr\u00FC\u00DF \U0001F600");
    EXPECT_EQ(Printed("%s", text), "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
    EXPECT_EQ(Printed("%.3s|%.4s|%.9s|%6.4s", text, text, text, text),
              "gr|gr\xC3\xBC|gr\xC3\xBC\xC3\x9F |  gr\xC3\xBC")
        << "no character is cut";
    EXPECT_EQ(UniString::Printf("%s!", "gr\xC3\xBC"), u"gr\u00FC!");
    EXPECT_EQ(UniString::Printf("\xC3\xBC%5.1s|", "\xC3\xBC\xC3\xBC"), u"\u00FC    \u00FC|") << "units count";
    EXPECT_EQ(UniString::Printf(u"\u00FC%c%c%s", u'\u20AC', 0x20AC, text),
              UniString(u"\u00FC\u20AC\u20AC") += text);
    EXPECT_EQ(Printed("%.2s|%.1s", u"a\U0001F600", u"\U0001F600"), "a|");
    EXPECT_EQ(UniString::Printf("%.1s%c", "\xF0\x9F\x98\x80", 0x1F600), u"\U0001F600");
    EXPECT_EQ(Printed("%c|%lc", u'\u00FC', 0x1F600), "\xC3\xBC|\xF0\x9F\x98\x80");
    EXPECT_EQ(Printed("<%s>", UniString(u"\xD800")), "<>") << "what does not convert is left out";
    const UniString long_(u"\u20AC", 1);
    UniString many;
    for (int i = 0; i < 1000; ++i) {
        many.Append(long_);
    }
    EXPECT_EQ(Printed("%s", many).size(), 3000u);
    EXPECT_EQ(UniString::Printf("%s%s", many, many).GetLength(), 2000u);
}

TEST(CheckedPrintf, CutsAtTheEndOfTheBuffer)
{
    for (std::size_t size = 0; size <= 12; ++size) {
        char text[16];
        std::fill(std::begin(text), std::end(text), '#');
        EXPECT_EQ(checkedsnprintf(text, size, "%5d|%s", 12, "abc"),
                  static_cast<int>(std::min<std::size_t>(size ? size - 1 : 0, 9)));
        EXPECT_EQ(std::string(text, size), size == 0 ? ""
                                                     : (std::string("   12|abc").substr(0, size - 1) + '\0' +
                                                        std::string("##########"))
                                                           .substr(0, size));
        EXPECT_EQ(text[size], '#');
    }
    EXPECT_EQ(checkedsnprintf(static_cast<char*>(nullptr), 0, "%d", 1), 0);
    unsigned short units[4];
    EXPECT_EQ(checkedsnprintf(units, 4, u"%d", 12345), 3);
    EXPECT_EQ(UniString(units), u"123");
    EXPECT_EQ(checkedsnprintf(units, 4, u"%.2147483647d%*d", 1, -2147483647 - 1, 1), 3);
}

TEST(CheckedFormat, RefusesAtRunTimeWhatDoesNotFit)
{
    char text[8] = "before";
    const auto print = [&text](const char* format, auto... arguments) {
        return checkedsnprintf(text, sizeof(text), format, arguments...);
    };
    EXPECT_THROW(print("%d", 1.0), IllegalTypeException);
    EXPECT_THROW(print("%f", 1), IllegalTypeException);
    EXPECT_THROW(print("%s", 1), IllegalTypeException);
    EXPECT_THROW(print("%d", "1"), IllegalTypeException);
    EXPECT_THROW(print("%d", 1l), IllegalTypeException);
    EXPECT_THROW(print("%ld", 1), IllegalTypeException);
    EXPECT_THROW(print("%lld", 1l), IllegalTypeException);
    EXPECT_THROW(print("%hs", u"1"), IllegalTypeException);
    EXPECT_THROW(print("%*d", 1u, 1), IllegalTypeException);
    EXPECT_THROW(print("%d %d", 1), IllegalTypeException);
    EXPECT_THROW(print("%d", 1, 2), IllegalTypeException);
    for (const char* const format :
         {"%", "%5", "%y", "%hf", "%lp", "%99999999999d", "%.99999999999d", "%1$d", "%n", "%ln"}) {
        EXPECT_THROW(print(format, 1), IllegalArgumentException) << format;
    }
    EXPECT_THROW(print(static_cast<const char*>(nullptr)), NullPointerException);
    EXPECT_STREQ(text, "before") << "nothing was written";

    const FormatArgument one[] = {1.5};
    EXPECT_EQ(checkedvsnprintf(text, sizeof(text), "%d", {one, 1}, FormatCStrReturnOnMismatch), -1);
    EXPECT_THROW(checkedvsnprintf(text, sizeof(text), "%d", {one, 1}, FormatCStrCheckedBefore),
                 IllegalTypeException)
        << "a claim that is not true does no harm";
    EXPECT_STREQ(text, "before");
    EXPECT_THROW(
        checkedvsnprintf(text, sizeof(text), "half%s", FormatArgumentList{one, 1}, FormatCStrCheckedBefore),
        IllegalTypeException);
    EXPECT_STREQ(text, "") << "no half text";
    EXPECT_THROW(String().Format(static_cast<const char*>(nullptr)), NullPointerException);
    EXPECT_THROW(UniString::Printf(static_cast<const char16_t*>(nullptr)), NullPointerException);

    int number = 7;
    char word[4];
    const auto scan = [](const char* format, auto&&... arguments) {
        return checkedsscanf("1 2", format, arguments...);
    };
    EXPECT_THROW(scan("%ld", &number), IllegalTypeException);
    EXPECT_THROW(scan("%f", &number), IllegalTypeException);
    EXPECT_THROW(scan("%s", &number), IllegalTypeException);
    EXPECT_THROW(scan("%s", &word[0]), IllegalTypeException) << "an array of unknown size";
    EXPECT_THROW(scan("%4s", word), IllegalTypeException);
    EXPECT_THROW(scan("%5c", word), IllegalTypeException);
    EXPECT_THROW(scan("%d%d", &number), IllegalTypeException);
    EXPECT_THROW(scan("%ls", word), IllegalTypeException);
    EXPECT_THROW(scan("%d%s", &number, ScanBuffer<char>{word, 0}), IllegalTypeException);
    EXPECT_THROW(scan("%d%s", &number, ScanBuffer<char>{nullptr, 5}), NullPointerException);
    EXPECT_THROW(scan("%d%d", &number, static_cast<int*>(nullptr)), NullPointerException);
    for (const char* const format : {"%n", "%[abc", "%[", "%0d", "%", "%[]"}) {
        EXPECT_THROW(scan(format, &number), IllegalArgumentException) << format;
    }
    EXPECT_EQ(number, 7);
    try {
        print("%d %s", 1, 2);
        FAIL();
    } catch (const IllegalTypeException& e) {
        EXPECT_EQ(e.GetMessage(), u"checked format: directive 2 does not fit the type of argument 2");
        EXPECT_EQ(e.GetID(), ErrParam);
    }
}

// What the compiler is told is what the run time is told.
using FormatSyntax::Kind;
using FormatSyntax::Problem;
constexpr Problem Check(const char* format, Kind kind)
{
    const auto getType = [kind](UInt32) { return FormatSyntax::Type{kind}; };
    return FormatSyntax::CheckFormat(format, getType, 1, Kind::None).problem;
}
static_assert(Check("%+08d%%", Kind::Int) == Problem::None &&
              Check("%d", Kind::Double) == Problem::WrongType);
static_assert(Check("%n", Kind::Int) == Problem::Refused && Check("%!", Kind::Int) == Problem::BadDirective);
static_assert(!std::is_constructible_v<PrintFormat<char, int>, const wchar_t*>);

TEST(CheckedScanf, ConvertsEachKind)
{
    signed char tiny;
    short small;
    int number, octal, hex, any;
    unsigned int natural;
    long longer;
    Int64 large;
    EXPECT_EQ(checkedsscanf("-3 70000 99999999999 17 0x1F 010 -1 -5 9223372036854775808",
                            "%hhd %hd %d %o %x %i %u %ld %lld", &tiny, &small, &number, &octal, &hex, &any,
                            &natural, &longer, &large),
              9);
    EXPECT_EQ(tiny, -3);
    EXPECT_EQ(small, 4464);
    EXPECT_EQ(number, 2147483647);
    EXPECT_EQ(octal, 15);
    EXPECT_EQ(hex, 31);
    EXPECT_EQ(any, 8);
    EXPECT_EQ(natural, 4294967295u);
    EXPECT_EQ(longer, -5);
    EXPECT_EQ(large, std::numeric_limits<Int64>::max());

    float single;
    double real;
    long double extended;
    void* pointer;
    EXPECT_EQ(checkedsscanf("1.5 -2.5e3\t0x1p4 0x00000000DEADBEEF", "%f%lf%Lf%p", &single, &real, &extended,
                            &pointer),
              4);
    EXPECT_EQ(single, 1.5f);
    EXPECT_EQ(real, -2500.0);
    EXPECT_EQ(extended, 16.0L);
    EXPECT_EQ(pointer, reinterpret_cast<void*>(0xDEADBEEF));

    char word[4], three[3], letter;
    UniString name;
    String rest;
    EXPECT_THROW(checkedsscanf("abc", "%3s", ScanBuffer<char>{three, 3}), IllegalTypeException);
    EXPECT_EQ(checkedsscanf("abcdef xyz! gr\xC3\xBC b]c-1", "%s%2s %c%3c%*2c %s %[]b-d]", word,
                            ScanBuffer<char>{three, 3}, &letter, three, &name, &rest),
              6)
        << "a full array ends its directive";
    EXPECT_STREQ(word, "abc");
    EXPECT_EQ(letter, 'f');
    EXPECT_EQ(std::string(three, 3), " xy");
    EXPECT_EQ(name, u"gr\u00FC");
    EXPECT_EQ(rest, "b]c");
}

TEST(CheckedScanf, CountsAndStopsAsTheCLibraryDoes)
{
    int a = 0, b = 0;
    EXPECT_EQ(checkedsscanf("", "%d", &a), -1);
    EXPECT_EQ(checkedsscanf("  ", "%d", &a), -1);
    EXPECT_EQ(checkedsscanf("x", "%d", &a), 0);
    EXPECT_EQ(checkedsscanf("-", "%d", &a), 0);
    EXPECT_EQ(checkedsscanf("1", "%d%d", &a, &b), 1);
    EXPECT_EQ(checkedsscanf("1,2", "%d,%d", &a, &b), 2);
    EXPECT_EQ(checkedsscanf("1 ,2", "%d,%d", &a, &b), 1);
    EXPECT_EQ(checkedsscanf("12345", "%2d%*2d%d", &a, &b), 2);
    EXPECT_EQ(a * 10 + b, 125);
    EXPECT_EQ(checkedsscanf("50 % 3", "%d%% %d", &a, &b), 2);
    EXPECT_EQ(checkedsscanf("7", "%*d"), 0);
    EXPECT_EQ(UniString(u"\u00FC 12").Scanf("\xC3\xBC %d", &a), 1);
    EXPECT_EQ(UniString(u"\u00FC12").Scanf(u"\u00FC%d", &a), 1);
    EXPECT_EQ(UniString(u"1\0002", 3).Scanf("%d%*c%d", &a, &b), 2) << "a zero is a unit like others";
    UniString self(u"one two");
    EXPECT_EQ(self.Scanf("%s %s", &self, &self), 2) << "scans what it was";
    EXPECT_EQ(self, u"two");
    unsigned short units[4];
    UniChar unit;
    EXPECT_EQ(UniString(u"\u20AC 5").Scanf(u"%2s%hu", units, &units[3]), 2);
    EXPECT_EQ(UniString(units), u"\u20AC");
    EXPECT_EQ(units[3], 5);
    EXPECT_EQ(checkedsscanf(u"abc\u20ACd", u"%[a-b]%c%c", units, &unit, &unit), 3);
}

/// One conversion of one text, with what follows it, against the C library.
template <class Variable>
void CompareScans(const char* letters, Variable start)
{
    for (const char* const text : {"12", " 12x", "-7 ", "+7", "0x1f", "0X1Fg", "017", "08", "-0", "99", "x1",
                                   "-", "", " ", "0", "-0x10", "2147483648", "\t\n5"}) {
        for (const char* letter = letters; *letter != 0; ++letter) {
            for (const char* const width : {"", "1", "2", "3"}) {
                const std::string format =
                    std::string("%") + width + (sizeof(Variable) == 8 ? "ll" : "") + *letter + "%c";
                if (std::strpbrk(text, "xX") != nullptr && std::strchr("xi", *letter) != nullptr &&
                    *width != 0) {
                    continue; // where "0x" may be cut off, that C library goes a way of its own
                }
                Variable expected = start, value = start;
                char expectedNext = '#', next = '#';
                const int count = std::sscanf(text, format.c_str(), &expected, &expectedNext);
                ASSERT_EQ(checkedsscanf(text, format.c_str(), &value, &next), count)
                    << format << " of " << text;
                if (std::string(text) != "2147483648" || sizeof(Variable) == 8) { // the C libraries differ
                    EXPECT_EQ(value, expected) << format << " of " << text;
                }
                EXPECT_EQ(next, expectedNext) << format << " of " << text;
            }
        }
    }
}

TEST(CheckedScanf, AgreesWithTheCLibraryOnIntegers)
{
    CompareScans("di", 77);
    CompareScans("uox", 77u);
    CompareScans("di", Int64{77});
    CompareScans("uox", UInt64{77});
}

TEST(CheckedPrintf, PassesTheEndOfItsPieces)
{
    for (unsigned int length = 240; length < 270; ++length) {
        const std::string bytes(length, 'x');
        const std::string expected = PrintedByC("%s%*d%s", bytes.c_str(), 270, 5, bytes.c_str());
        EXPECT_EQ(Narrow(UniString::Printf("%s%*d%s", bytes, 270, 5, bytes)), expected);
        String text;
        EXPECT_EQ(text.Format("%s%*d%s", bytes, 270, 5, bytes), NoError);
        EXPECT_EQ(text, expected.c_str());
    }
}

TEST(CheckedFormat, GivesBackEverythingWhenMemoryIsOut)
{
    UniString euros;
    euros.SetLength(600, UniChar(u'\u20AC'));
    Testing::SweepAllocationFailures([&] {
        try {
            char text[4000];
            const UniString printed = UniString::Printf("%s %s %300d", euros, "gr\xC3\xBC", 1);
            UniString scanned;
            String bytes;
            return checkedsnprintf(text, sizeof(text), "%s", printed) == 2106 &&
                   printed.Scanf("%s %s", &scanned, &bytes) == 2 && bytes.GetStatus() == NoError;
        } catch (const OutOfMemoryException&) {
            return false;
        }
    });
    String line("old");
    EXPECT_EQ(line.Format("%s+%d", line, 5), NoError) << "the argument may be the string";
    EXPECT_EQ(line, "old+5");
    Testing::SweepAllocationFailures([&] {
        String text("before");
        const QVErrCode error = text.Format("%400d", 1);
        EXPECT_EQ(text.GetLength(), error == NoError ? 400u : 0u);
        EXPECT_EQ(error, text.GetStatus());
        return error == NoError && text.GetStatus() == NoError;
    });
}

} // namespace
