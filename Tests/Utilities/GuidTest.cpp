#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/String/String.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace QV {
namespace {

constexpr Guid sample(0x91EBEEBE, 0x9D23, 0x4FF6, {0xB5, 0x44, 0xD1, 0x48, 0x40, 0x7C, 0x3B, 0xF7});
constexpr char sampleText[] = "91EBEEBE-9D23-4FF6-B544-D148407C3BF7";

std::string Print(const Guid& guid)
{
    char text[Guid::TextSize];
    EXPECT_EQ(guid.ConvertToString(text), NoError);
    return text;
}

/// Parses in all forms of text, which must agree; `QVErrCode` and value.
std::pair<QVErrCode, Guid> Parse(const std::string& text)
{
    const std::u16string wide(text.begin(), text.end());
    Guid narrow = sample.Invert();
    Guid units = narrow;
    Guid counted = narrow;
    const QVErrCode error = narrow.ConvertFromString(text.c_str());
    EXPECT_EQ(units.ConvertFromString(wide.c_str()), error) << text;
    EXPECT_EQ(counted.ConvertFromString(UniString(wide)), error) << text;
    EXPECT_EQ(units, narrow) << text;
    EXPECT_EQ(counted, narrow) << text;
    return {error, narrow};
}

Guid RandomGuid(std::mt19937_64& random)
{
    const UInt64 image[2] = {random(), random()};
    Guid guid;
    std::memcpy(static_cast<void*>(&guid), image, sizeof(guid));
    return guid;
}

std::string Written(const std::function<QVErrCode(OChannel&)>& write)
{
    OMemChannel oc;
    EXPECT_EQ(write(oc), NoError);
    return std::string(oc.LockData(), oc.DataSize());
}

} // namespace

TEST(Guid, PrintsInUpperCaseWithoutBraces)
{
    EXPECT_EQ(Print(sample), sampleText);
    EXPECT_EQ(Print(Guid()), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(sample.ToUniString(), UniString(sampleText));
    EXPECT_STREQ(sample.ToString().ToCStr(), sampleText);
    char text[Guid::TextSize] = "x";
    EXPECT_EQ(sample.ConvertToString(text, Guid::TextSize - 1), ErrParam);
    EXPECT_STREQ(text, "x");
    EXPECT_EQ(sample.ConvertToString(text, Guid::TextSize), NoError);
    EXPECT_STREQ(text, sampleText);
    EXPECT_EQ(sample.ConvertToString(nullptr), ErrNullPointer);
}

TEST(Guid, ReadsGroupsWhateverStandsBetweenThem)
{
    for (const char* text :
         {sampleText, "{91EBEEBE-9D23-4FF6-B544-D148407C3BF7}", "91EBEEBE9D234FF6B544D148407C3BF7",
          "{91ebeebe9d234ff6b544d148407c3bf7}", "91ebEEBE-9d23-4ff6-b544-d148407c3bF7 and more 123",
          "((91EBEEBE..9D23 4FF6\x80\xFFg-B5 44 D1:48:40:7C:3B:F7", "urn:91EBEEBE-9D23-4FF6-B544D148407C3BF7",
          "{{91EBEEBE-9D23-4FF6-B544-D148407C3BF7", "91EBEEBE-9D23-4FF6-B544-D148407C3BF70"}) {
        EXPECT_EQ(Parse(text), std::pair(QVErrCode{NoError}, sample)) << text;
        EXPECT_EQ(Guid(text), sample);
    }
    EXPECT_EQ(Guid(UniString(sampleText)), sample);
}

TEST(Guid, RefusesABrokenGroupAndKeepsTheValue)
{
    for (const char* text :
         {"", "{", "-", "91EBEEBE9D234FF6B544D148407C3BF", "91EBEEBE-9D23-4FF6-B544-D148407C3BF",
          "91EBEEB-9D23-4FF6-B544-D148407C3BF70", "91EBEEBE-9D2-34FF6-B544-D148407C3BF7",
          "91EBEEBE-9D23-4FF6-B544-D148407C3B7-", "91EBEEBE-9D23-4FF6-B544-D148407C3BG7",
          "91EBEEBE-9D23-4FF6-B54-4D148407C3BF7", "no such thing"}) {
        EXPECT_EQ(Parse(text), std::pair(QVErrCode{ErrGuidFormat}, sample.Invert())) << text;
        EXPECT_TRUE(Guid(text).IsNull());
    }
    Guid guid = sample;
    EXPECT_EQ(guid.ConvertFromString(static_cast<const char*>(nullptr)), ErrGuidFormat);
    EXPECT_EQ(guid.ConvertFromString(u"91EBEEBE-9D23-4FF6-B544-D148407C3B\uFF26\uFF17"), ErrGuidFormat);
    // The low byte of each unit alone would be a digit.
    EXPECT_EQ(guid.ConvertFromString(u"\u0139\u8031EBEEBE-9D23-4FF6-B544-D148407C3BF7"), ErrGuidFormat);
    EXPECT_EQ(guid.ConvertFromString(UniString()), ErrGuidFormat);
    EXPECT_EQ(guid, sample);
}

TEST(Guid, ReadsWholeGroupsOfAPrefix)
{
    Guid guid;
    EXPECT_EQ(guid.ConvertFromPrefixString("{91ebeebe"), NoError);
    EXPECT_EQ(guid, Guid(0x91EBEEBE, 0, 0, {}));
    EXPECT_EQ(guid.ConvertFromPrefixString(u"91EBEEBE-9D23-"), NoError);
    EXPECT_EQ(guid, Guid(0x91EBEEBE, 0x9D23, 0, {}));
    EXPECT_LT(guid, sample);
    EXPECT_EQ(guid.ConvertFromPrefixString(UniString("91EBEEBE-9D23-4FF6-B544-D1")), NoError);
    EXPECT_EQ(guid, Guid(0x91EBEEBE, 0x9D23, 0x4FF6, {0xB5, 0x44, 0xD1}));
    EXPECT_EQ(guid.ConvertFromPrefixString(sampleText), NoError);
    EXPECT_EQ(guid, sample);
    for (const char* text : {"", "{}", "91EBEEB", "91EBEEBE-9D2", "91EBEEBE-9D23-4FF6-B"}) {
        EXPECT_EQ(guid.ConvertFromPrefixString(text), ErrGuidFormat) << text;
        EXPECT_EQ(guid.ConvertFromPrefixString(UniString(text)), ErrGuidFormat) << text;
    }
    EXPECT_EQ(guid, sample);
    guid.SetPrefix(0x12345678);
    EXPECT_EQ(Print(guid), "12345678-9D23-4FF6-B544-D148407C3BF7");
}

TEST(Guid, ComesBackFromItsText)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const Guid guid = RandomGuid(random);
        std::string text = Print(guid);
        ASSERT_EQ(Parse(text), std::pair(QVErrCode{NoError}, guid)) << text;
        // With another byte for a digit: refused, unless it is one, too.
        const std::size_t position = random() % text.size();
        if (text[position] != '-') {
            text[position] = static_cast<char>(1 + random() % 255);
            const bool isDigit = std::isxdigit(static_cast<unsigned char>(text[position])) != 0;
            const auto [error, changed] = Parse(text);
            ASSERT_EQ(error, isDigit ? NoError : ErrGuidFormat) << text;
            ASSERT_TRUE(!isDigit || Print(changed)[position] == std::toupper(text[position])) << text;
        }
    }
}

TEST(Guid, ComparesPartsAsNumbersAndBytesInOrder)
{
    const Guid ordered[] = {Guid(),
                            Guid(0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 1}),
                            Guid(0, 0, 0, {1}),
                            Guid(0, 0, 1, {}),
                            Guid(0, 0, 0x0100, {}),
                            Guid(0, 1, 0, {}),
                            Guid(1, 0xFFFF, 0xFFFF, {255, 255, 255, 255, 255, 255, 255, 255}),
                            Guid(2, 0, 0, {}),
                            Guid(0x01000000, 0, 0, {}),
                            Guid(0x80000000, 0, 0, {})};
    for (std::size_t i = 0; i < std::size(ordered); ++i) {
        for (std::size_t j = 0; j < std::size(ordered); ++j) {
            const int expected = i < j ? -1 : i > j;
            EXPECT_EQ(ordered[i].Compare(ordered[j]), expected) << i << ' ' << j;
            EXPECT_EQ(ordered[i] < ordered[j], expected < 0);
            EXPECT_EQ(ordered[i] >= ordered[j], expected >= 0);
            EXPECT_EQ(ordered[i] == ordered[j], expected == 0);
            EXPECT_EQ(ordered[i].IsEqual(ordered[j]), expected == 0);
        }
        EXPECT_EQ(ordered[i].IsNull(), i == 0);
    }
}

TEST(Guid, HashesByTheTwoSums)
{
    std::mt19937_64 random(2);
    for (int i = 0; i < 20000; ++i) {
        const Guid guid = RandomGuid(random);
        UInt8 bytes[16];
        std::memcpy(bytes, &guid, sizeof(bytes));
        Int32 s1 = 0;
        Int32 s2 = 0;
        for (const UInt8 byte : bytes) {
            s1 += byte;
            s2 += s1;
        }
        const Int32 low = -s2 % 255 + (-s2 % 255 < 0 ? 255 : 0);
        const Int32 high = (s2 - s1) % 255;
        ASSERT_EQ(guid.GetHashValue(), low | high << 8) << Print(guid);
    }
    static_assert(Guid().GetHashValue() == 0);
    static_assert(Guid().Invert().GetHashValue() == 0);
    static_assert(sample.Invert().GetData1() == ~sample.GetData1() && sample.Invert().Invert() == sample);
}

TEST(Guid, SwapsItsPartsForMacData)
{
    constexpr Guid swapped(0xBEEEEB91, 0x239D, 0xF64F, {0xB5, 0x44, 0xD1, 0x48, 0x40, 0x7C, 0x3B, 0xF7});
    const auto unknown = static_cast<PlatformSign>(0);
    const std::tuple<PlatformSign, PlatformSign, bool> cases[] = {
        {MacPlatformSign, WinPlatformSign, true},
        {MacPlatformSign, WinLikePlatformSign, true},
        {MacPlatformSign, MacIntelPlatformSign, true},
        {WinPlatformSign, MacPlatformSign, true},
        {unknown, MacPlatformSign, true},
        {MacPlatformSign, unknown, false},
        {MacPlatformSign, MacPlatformSign, false},
        {WinPlatformSign, MacIntelPlatformSign, false}};
    for (const auto& [from, to, swaps] : cases) {
        Guid guid = sample;
        guid.IV(from, to);
        EXPECT_EQ(guid, swaps ? swapped : sample) << from << ' ' << to;
    }
    Guid guid = sample;
    guid.IV(WinPlatformSign);
    EXPECT_EQ(guid, sample);
    guid.IV(MacPlatformSign);
    EXPECT_EQ(guid, swapped);
}

TEST(Guid, HasSixteenBytesInEveryNativeForm)
{
    const std::string image("\xBE\xEE\xEB\x91\x23\x9D\xF6\x4F\xB5\x44\xD1\x48\x40\x7C\x3B\xF7", 16);
    EXPECT_EQ(Written([](OChannel& oc) { return sample.Write(oc); }), image);
    EXPECT_EQ(Written([](OChannel& oc) { return sample.WriteStructured(oc); }), image);
    EXPECT_EQ(Written([](OChannel& oc) { return sample.WriteBinary(oc); }), image);
    EXPECT_EQ(Written([](OChannel& oc) { return sample.WriteAsText(oc); }), sampleText);
    for (const auto read : {&Guid::Read, &Guid::ReadStructured, &Guid::ReadBinary}) {
        IMemChannel ic(image.data(), static_cast<int>(image.size()));
        Guid guid;
        EXPECT_EQ((guid.*read)(ic), NoError);
        EXPECT_EQ(guid, sample);
        EXPECT_EQ((guid.*read)(ic), ErrEndOfInput);
        EXPECT_EQ(guid, sample);
    }
}

TEST(Guid, ReadsItsTextFromAChannel)
{
    const std::string text = "91EBEEBE-9D23-4FF6-B544-D148407C3BF7"
                             "91EBEEBE+9D23-4FF6-B544-D148407C3BF7"
                             "91EB";
    IMemChannel ic(text.data(), static_cast<int>(text.size()));
    Guid guid;
    EXPECT_EQ(guid.ReadAsText(ic), NoError);
    EXPECT_EQ(guid, sample);
    guid.Clear();
    EXPECT_EQ(guid.ReadAsText(ic), ErrGuidFormat);
    EXPECT_EQ(guid.ReadAsText(ic), ErrEndOfInput);
    EXPECT_TRUE(guid.IsNull());
}

TEST(Guid, GeneratesVersion4AndNothingTwice)
{
    constexpr int threadCount = 4;
    constexpr int perThread = 5000;
    std::vector<Guid> made(threadCount * perThread);
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&made, t] {
            for (int i = 0; i < perThread; ++i) {
                EXPECT_EQ(made[static_cast<std::size_t>(t * perThread + i)].Generate(), NoError);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const Guid& guid : made) {
        ASSERT_EQ(guid.GetData3() >> 12, 4);
        ASSERT_EQ(guid.GetData4()[0] >> 6, 2);
    }
    EXPECT_EQ(std::set<Guid>(made.begin(), made.end()).size(), made.size());
}

namespace {

/// Exits with 0 when identifiers are numbered in order, also from several threads.
[[noreturn]] void RunDeterministicMode()
{
    Guid::GenerateDeterministicGuids();
    Guid::RestartDeterministicGuidGenerator();
    Guid first(~0u, 1, 1, {1, 1, 1, 1, 1, 1, 1, 1});
    Guid second;
    first.Generate();
    second.Generate();
    bool good = Print(first) == "00000001-0000-0000-0000-000000000000" &&
                Print(second) == "00000002-0000-0000-0000-000000000000";
    std::vector<Guid> made(4000);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 4; ++t) {
        threads.emplace_back([&made, t] {
            for (std::size_t i = 0; i < 1000; ++i) {
                made[t * 1000 + i].Generate();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::set<Guid> numbers(made.begin(), made.end());
    good = good && numbers.size() == 4000 && *numbers.begin() == Guid(3, 0, 0, {}) &&
           *numbers.rbegin() == Guid(4002, 0, 0, {});
    Guid::RestartDeterministicGuidGenerator();
    first.Generate();
    std::exit(good && first == Guid(1, 0, 0, {}) ? 0 : 1);
}

} // namespace

TEST(GuidDeathTest, NumbersIdentifiersInTheDeterministicMode)
{
    EXPECT_EXIT(RunDeterministicMode(), testing::ExitedWithCode(0), "");
}

} // namespace QV
