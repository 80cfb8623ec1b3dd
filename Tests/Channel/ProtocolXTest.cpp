#include "Tests/Support/StubbornBinaryChannels.hpp"

#include <QVRoot/Channel/IChannelX.hpp>
#include <QVRoot/Channel/MemoryIBinaryChannel.hpp>
#include <QVRoot/Channel/MemoryOBinaryChannel.hpp>
#include <QVRoot/Channel/OChannelX.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>

using namespace std::string_literals;

namespace QV {

namespace {

constexpr Guid sampleGuid(0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF});

std::string Written(const OProtocolX& protocol, auto... values)
{
    MemoryOBinaryChannel out;
    const OChannelX x(out, protocol);
    (x.Write(values), ...);
    return std::string(out.GetData(), out.GetSize());
}

/// Every value comes back through the protocol for its bytes, reversed for the other order.
template <class T>
void ExpectRoundTrip(T value)
{
    const std::string image(reinterpret_cast<const char*>(&value), sizeof(T));
    const std::string reversed(image.rbegin(), image.rend());
    EXPECT_EQ(Written(platformOProtocolX, value), image);
    EXPECT_EQ(Written(swappingOProtocolX, value), reversed);
    EXPECT_EQ(Written(networkByteOrderOProtocolX, value), reversed);
    const auto read = [&](const std::string& bytes, const IProtocolX& protocol, UInt32 most) {
        Test::StubbornIBinaryChannel in(bytes, most);
        return IChannelX(in, protocol).Read<T>();
    };
    for (const UInt32 most : {1u, 3u, 8u}) {
        for (const T back : {read(image, platformIProtocolX, most), read(reversed, swappingIProtocolX, most),
                             read(reversed, networkByteOrderIProtocolX, most)}) {
            EXPECT_EQ(std::memcmp(&back, &value, sizeof(T)), 0);
        }
    }
    for (USize cut = 0; cut < sizeof(T); ++cut) {
        MemoryIBinaryChannel in(image.data(), cut);
        T destination = value;
        EXPECT_THROW(IChannelX(in).Read(destination), EndOfInputException);
        EXPECT_EQ(std::memcmp(&destination, &value, sizeof(T)), 0) << "stays as it was";
    }
}

} // namespace

TEST(ProtocolX, WritesAndReadsEveryTypeInBothOrders)
{
    ExpectRoundTrip(true);
    ExpectRoundTrip('x');
    ExpectRoundTrip(Int8{-2});
    ExpectRoundTrip(UInt8{0xFE});
    ExpectRoundTrip(Int16{-0x1234});
    ExpectRoundTrip(UInt16{0xFEDC});
    ExpectRoundTrip(Int32{-0x12345678});
    ExpectRoundTrip(UInt32{0xFEDCBA98});
    ExpectRoundTrip(Int64{-0x123456789ABCDEF0});
    ExpectRoundTrip(UInt64{0xFEDCBA9876543210});
    ExpectRoundTrip(-1.5f);
    ExpectRoundTrip(1.1);
    ExpectRoundTrip(std::numeric_limits<double>::signaling_NaN());
    static_assert(!ScalarX<long> && !ScalarX<long double> && !ScalarX<const char*>);
}

TEST(ProtocolX, AnyByteButZeroIsTrue)
{
    MemoryIBinaryChannel in("\0\2\xFF", 3);
    const IChannelX x(in);
    EXPECT_FALSE(x.Read<bool>());
    EXPECT_TRUE(x.Read<bool>());
    EXPECT_TRUE(x.Read<bool>());
}

TEST(ProtocolX, IsChosenByThePlatformSign)
{
    EXPECT_EQ(&GetIProtocolX(MacPlatformSign), &swappingIProtocolX);
    EXPECT_EQ(&GetOProtocolX(MacPlatformSign), &swappingOProtocolX);
    for (const PlatformSign sign :
         {MacIntelPlatformSign, WinPlatformSign, WinLikePlatformSign, PlatformSign(0)}) {
        EXPECT_EQ(&GetIProtocolX(sign), &platformIProtocolX);
        EXPECT_EQ(&GetOProtocolX(sign), &platformOProtocolX);
    }
}

TEST(ChannelX, NeedsAChannelAndKeepsACountedOne)
{
    EXPECT_THROW(IChannelX(RefPtr<IBinaryChannel>()), PreconditionException);
    EXPECT_THROW(OChannelX(RefPtr<OBinaryChannel>()), PreconditionException);
    const OChannelX out(MakeRef<MemoryOBinaryChannel>());
    out.Write(UInt32{1});
    out.WriteBytes("abc", 3);
}

TEST(ChannelX, MovesIdentifiersAsSixteenBytes)
{
    const std::string native = "\x33\x22\x11\x00\x55\x44\x77\x66\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF"s;
    const std::string swapped = "\x00\x11\x22\x33\x44\x55\x66\x77\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF"s;
    EXPECT_EQ(Written(platformOProtocolX, sampleGuid), native);
    EXPECT_EQ(Written(swappingOProtocolX, sampleGuid), swapped);
    MemoryOBinaryChannel out;
    sampleGuid.WriteBinary(OChannelX(out, swappingOProtocolX));
    EXPECT_EQ(std::string(out.GetData(), out.GetSize()), native);

    const auto read = [](const std::string& bytes, const IProtocolX& protocol, bool binary) {
        MemoryIBinaryChannel in(bytes.data(), bytes.size());
        const IChannelX x(in, protocol);
        Guid value;
        binary ? value.ReadBinary(x) : x.Read(value);
        return value;
    };
    EXPECT_EQ(read(native, platformIProtocolX, false), sampleGuid);
    EXPECT_EQ(read(swapped, networkByteOrderIProtocolX, false), sampleGuid);
    EXPECT_EQ(read(native, networkByteOrderIProtocolX, true), sampleGuid);
    for (USize cut = 0; cut < 16; ++cut) {
        MemoryIBinaryChannel in(native.data(), cut);
        Guid value;
        EXPECT_THROW(value.Read(IChannelX(in)), EndOfInputException);
        EXPECT_TRUE(value.IsNull());
    }
}

} // namespace QV
