// The parts of number conversion against the standard library, where their own ways end and fall back.

#include <QVRoot/String/DecimalRealImpl.hpp>
#include <QVRoot/String/DecimalTextImpl.hpp>
#include <QVRoot/String/NumberScanImpl.hpp>
#include <QVRoot/String/RealTextImpl.hpp>

#include <charconv>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>

using namespace QV;

namespace {

template <class Real>
Real Expected(UInt64 digits, int exponent)
{
    const std::string text = std::to_string(digits) + "e" + std::to_string(exponent);
    Real value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

/// Answers whether the quick way decided.
template <class Real>
bool CompareNearest(UInt64 digits, int exponent)
{
    Real value = 7;
    const bool isDecided = Impl::MakeNearest(digits, exponent, false, value);
    EXPECT_TRUE(!isDecided || value == Expected<Real>(digits, exponent)) << digits << "e" << exponent;
    return isDecided;
}

TEST(DecimalReal, TheTableOfPowersGivesTheNearestValue)
{
    std::mt19937_64 random(1);
    int undecided = 0;
    for (int exponent = -345; exponent <= 320; ++exponent) {
        for (int i = 0; i < 60; ++i) {
            const UInt64 digits = random() >> random() % 64;
            undecided += !CompareNearest<double>(digits, exponent);
            CompareNearest<float>(digits, exponent);
        }
    }
    EXPECT_LT(undecided, 345 * 60) << "at most what is too large or too small";
}

TEST(DecimalReal, TiesAndTheirNeighboursAreRight)
{
    for (int bit = 0; bit < 11; ++bit) {
        for (UInt64 odd = 0; odd < 4; ++odd) {
            // A 53-bit number and a half of its last place, exact in the digits; then one off.
            const UInt64 tie = (((UInt64{1} << 52) + odd) * 2 + 1) << bit;
            for (const UInt64 digits : {tie - 1, tie, tie + 1}) {
                EXPECT_TRUE(CompareNearest<double>(digits, 0));
                for (const int exponent : {-30, -3, 3, 20, 27, 28, 200}) {
                    CompareNearest<double>(digits, exponent);
                    CompareNearest<float>(digits >> 29, exponent);
                }
            }
        }
    }
    double value = 0;
    EXPECT_FALSE(Impl::MakeNearest(9007199254740993, 0, true, value))
        << "the digits that were cut may decide";
    EXPECT_TRUE(Impl::MakeNearest(1234567890123456789, 5, true, value));
    EXPECT_EQ(value, 1234567890123456789e5);
    EXPECT_FALSE(Impl::MakeNearest(1, -320, false, value)) << "not a normal number";
    EXPECT_FALSE(Impl::MakeNearest(1, 309, false, value));
}

TEST(DecimalReal, BinaryDigitsRoundOnceAlsoBelowTheNormalNumbers)
{
    std::mt19937_64 random(2);
    for (int i = 0; i < 20000; ++i) {
        const UInt64 digits = random() >> random() % 60;
        const int exponent = static_cast<int>(random() % 2300) - 1150;
        // A long double holds all 64 bits; narrowing it rounds once.
        const long double exact = std::ldexp(static_cast<long double>(digits), exponent);
        if (std::numeric_limits<long double>::digits >= 64) {
            EXPECT_EQ(Impl::MakeNearestBinary<double>(digits, exponent), static_cast<double>(exact))
                << digits << " " << exponent;
            EXPECT_EQ(Impl::MakeNearestBinary<float>(digits, exponent / 8),
                      static_cast<float>(std::ldexp(static_cast<long double>(digits), exponent / 8)));
        }
    }
    EXPECT_EQ(Impl::MakeNearestBinary<double>(1, 5000000000), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Impl::MakeNearestBinary<double>(~UInt64{0}, -5000000000), 0.0);
}

TEST(RealText, TheShortWayRoundsAsTheLongOne)
{
    std::mt19937_64 random(3);
    const auto compare = [](double value, int precision) {
        char text[64];
        const char* const end = Impl::WriteShortFixed(value, precision, text);
        char expected[400];
        const char* const expectedEnd =
            std::to_chars(expected, expected + sizeof(expected), value, std::chars_format::fixed, precision)
                .ptr;
        if (end == nullptr) {
            ASSERT_GE(value, 9.2e18);
            return;
        }
        ASSERT_LT(end - text, 32);
        ASSERT_EQ(std::string(text, static_cast<std::size_t>(end - text)),
                  std::string(expected, static_cast<std::size_t>(expectedEnd - expected)));
    };
    for (int precision = 0; precision <= 9; ++precision) {
        for (const double value : {0.0,
                                   0.5,
                                   1.5,
                                   2.5,
                                   0.25,
                                   0.125,
                                   0.0625,
                                   9.5,
                                   99.95,
                                   999999.9999995,
                                   0.9999999999,
                                   5e-324,
                                   1e-9,
                                   5e-10,
                                   4.9999999e-10,
                                   0x1p-31,
                                   0x1p-32,
                                   0x1p-84,
                                   0x1p-85,
                                   9007199254740993.0,
                                   0x1p62,
                                   0x1p63,
                                   0x1.fffffffffffffp62,
                                   1e300}) {
            compare(value, precision);
        }
        for (int i = 0; i < 3000; ++i) {
            compare(
                std::ldexp(static_cast<double>(random() >> random() % 60), -static_cast<int>(random() % 90)),
                precision);
        }
    }
}

TEST(DecimalText, CountsDigitsAtEveryPower)
{
    UInt64 power = 1;
    for (UInt32 digits = 1; digits <= 20; ++digits, power *= 10) {
        EXPECT_EQ(Impl::CountDecimalDigits(power), digits);
        EXPECT_EQ(Impl::CountDecimalDigits(power - 1), digits == 1 ? 1 : digits - 1);
    }
    EXPECT_EQ(Impl::CountDecimalDigits(~UInt64{0}), 20u);
}

TEST(NumberScan, StopsAtItsEndAndLeavesTheTextAloneWithoutANumber)
{
    const std::string text = "0x1F.8p+3";
    const double values[] = {0, 0, 0, 1, 31, 31, 31.5, 31.5, 31.5, 252};
    for (std::size_t length = 0; length <= text.size(); ++length) {
        // A block of its own, so that a step beyond the end is found.
        const std::string part(text, 0, length);
        const std::u16string wide(part.begin(), part.end());
        const char* at = part.data();
        const auto* wideAt = reinterpret_cast<const UInt16*>(wide.data());
        double value = 0;
        EXPECT_EQ(Impl::ScanReal(at, part.data() + length, value), length != 0);
        EXPECT_EQ(value, values[length]) << part;
        EXPECT_EQ(Impl::ScanReal(wideAt, wideAt + length, value), length != 0);
        EXPECT_EQ(value, values[length]) << part;
    }
    for (const char* const none : {"", "-", "+.", "in", "-na", "e5", "x"}) {
        const char* at = none;
        double value = 0;
        EXPECT_FALSE(Impl::ScanReal(at, Impl::ZeroTerminated{}, value));
        EXPECT_EQ(at, none);
        Impl::ScannedInteger integer;
        EXPECT_FALSE(Impl::ScanInteger(at, Impl::ZeroTerminated{}, 10, integer));
        EXPECT_EQ(at, none);
    }
}

} // namespace
