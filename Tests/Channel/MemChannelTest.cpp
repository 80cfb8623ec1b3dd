#include "Tests/Support/FaultSweep.hpp"

#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/PlatformSign.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace QV;

namespace {

std::string Bytes(OMemChannel& oc)
{
    return std::string(oc.LockData(), oc.DataSize());
}

template <class Writer>
std::string Written(Writer write)
{
    OMemChannel oc;
    write(oc);
    EXPECT_EQ(oc.GetOutputStatus(), NoError);
    return Bytes(oc);
}

std::string operator""_b(const char* text, std::size_t size)
{
    return std::string(text, size);
}

constexpr Guid sampleGuid(0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF});

TEST(MemProtocol, WritesTheImagesOfScalars)
{
    EXPECT_EQ(Written([](OChannel& oc) { oc << 'a' << UInt8{200} << static_cast<signed char>(-1) << true; }),
              "a\xC8\xFF\x01"_b);
    EXPECT_EQ(Written([](OChannel& oc) { oc << Int16{-2} << UInt16{0x1234}; }), "\xFE\xFF\x34\x12"_b);
    EXPECT_EQ(Written([](OChannel& oc) { oc << 1 << 0x89ABCDEFu << 2l << 3ul; }),
              "\1\0\0\0\xEF\xCD\xAB\x89\2\0\0\0\3\0\0\0"_b);
    EXPECT_EQ(Written([](OChannel& oc) { oc << Int64{-1} << UInt64{258}; }),
              "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\2\1\0\0\0\0\0\0"_b);
    EXPECT_EQ(Written([](OChannel& oc) { oc << 1.0f << 1.0 << 1.0L; }),
              "\0\0\x80\x3F\0\0\0\0\0\0\xF0\x3F\0\0\0\0\0\0\xF0\x3F"_b);
    EXPECT_EQ(Written([](OChannel& oc) { oc << "abc" << ""; }), "\4\0\0\0abc\0\1\0\0\0\0"_b);
    EXPECT_EQ(Written([](OChannel& oc) { oc << sampleGuid; }),
              "\x33\x22\x11\x00\x55\x44\x77\x66\x88\x99\xAA\xBB\xCC\xDD\xEE\xFF"_b);
    OMemChannel oc;
    EXPECT_EQ(oc.Write(static_cast<const void*>(&oc)), ErrGeneral);
    EXPECT_EQ(oc.Write(static_cast<const char*>(nullptr)), ErrGeneral);
    EXPECT_EQ(oc.DataSize(), 0u);
    EXPECT_EQ(Written([](OChannel& o) {
                  o.WriteBool(true), o.WriteChar('c'), o.WriteUChar(2), o.WriteShort(3), o.WriteUShort(4);
                  o.WriteInt(5), o.WriteLong(6), o.WriteUInt(7), o.WriteULong(8), o.WriteInt64(9);
                  o.WriteUInt64(10), o.WriteFloat(0), o.WriteDouble(0), o.WriteLDouble(0);
              }).size(),
              1u + 1 + 1 + 2 + 2 + 4 + 4 + 4 + 4 + 8 + 8 + 4 + 8 + 8);
}

TEST(MemProtocol, RefusesALongThatDoesNotFit)
{
    if (sizeof(long) > 4) {
        OMemChannel oc;
        const Int64 large = 0x80000000;
        EXPECT_EQ(oc.Write(static_cast<long>(large)), ErrParam);
        EXPECT_EQ(oc.Write(static_cast<unsigned long>(large * 2)), ErrParam);
        EXPECT_EQ(oc.Write(static_cast<long>(-large)), NoError);
        EXPECT_EQ(oc.DataSize(), 4u);
    }
}

TEST(MemProtocol, ReadsBackWhatItWrote)
{
    OMemChannel oc;
    oc << 'a' << UInt8{200} << Int16{-2} << UInt16{65000} << Int32{-3} << UInt32{4000000000u} << -4l << 5ul
       << Int64{-6} << UInt64{7} << 1.5f << -2.25 << 3.125L << true << "text" << sampleGuid
       << UniString(u"string");
    IMemChannel ic(oc.LockData(), static_cast<int>(oc.DataSize()));
    char c;
    UInt8 u8;
    Int16 i16;
    UInt16 u16;
    Int32 i32;
    UInt32 u32;
    long l;
    unsigned long ul;
    Int64 i64;
    UInt64 u64;
    float f;
    double d;
    long double ld;
    bool b;
    char text[8];
    Guid guid;
    UniString string;
    const QVErrCode errors = ic.Read(c) | ic.Read(u8) | ic.Read(i16) | ic.Read(u16) | ic.Read(i32) |
                             ic.Read(u32) | ic.Read(l) | ic.Read(ul) | ic.Read(i64) | ic.Read(u64) | ic.Read(f) |
                             ic.Read(d) | ic.Read(ld) | ic.Read(b) | ic.Read(text) | ic.Read(guid) |
                             ic.Read(string);
    EXPECT_EQ(errors, NoError);
    EXPECT_TRUE(c == 'a' && u8 == 200 && i16 == -2 && u16 == 65000 && i32 == -3 && u32 == 4000000000u);
    EXPECT_TRUE(l == -4 && ul == 5 && i64 == -6 && u64 == 7 && f == 1.5f && d == -2.25 && ld == 3.125L && b);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(guid, sampleGuid);
    EXPECT_EQ(string, u"string");
    UInt64 left = 1;
    EXPECT_EQ(ic.GetAvailable(&left), NoError);
    EXPECT_EQ(left, 0u);
}

TEST(MemProtocol, LeavesAValueAloneThatCannotBeRead)
{
    IMemChannel ic("\1\2\3", 3);
    UInt32 value = 77;
    EXPECT_EQ(ic.Read(value), ErrEndOfInput);
    EXPECT_EQ(value, 77u);
    UInt8 byte = 5;
    EXPECT_EQ(ic.Read(byte), ErrEndOfInput) << "the error sticks";
    ic.ResetInputStatus();
    EXPECT_EQ(ic.Read(byte), ErrEndOfInput) << "the short read has consumed the rest";
    EXPECT_EQ(byte, 5);

    char text[4] = "abc";
    IMemChannel negative("\xFF\xFF\xFF\xFF", 4);
    EXPECT_EQ(negative.Read(text), ErrDataIntegrity);
    EXPECT_STREQ(text, "abc");
}

TEST(IMemChannel, DeliversTheRestAndThenSticks)
{
    IMemChannel ic("abc", 3);
    char buffer[4] = {};
    UInt32 got = 9;
    EXPECT_EQ(ic.ReadBin(buffer, 4, &got), ErrEndOfInput);
    EXPECT_EQ(got, 3u);
    EXPECT_STREQ(buffer, "abc");
    got = 9;
    EXPECT_EQ(ic.ReadBin(buffer, 1, &got), ErrEndOfInput);
    EXPECT_EQ(got, 9u);
    EXPECT_FALSE(ic.IsEOI());
    EXPECT_EQ(ic.PushBack('x'), ErrGeneral);
    EXPECT_EQ(IMemChannel("", -5).GetInputStatus(), NoError);
}

TEST(IMemChannel, SkipConsumesTheRestWhateverItsArgument)
{
    IMemChannel ic("0123456789", 10);
    UInt64 skipped = 0;
    EXPECT_EQ(ic.Skip(1, &skipped), NoError);
    EXPECT_EQ(skipped, 1u);
    UInt32 left = 9;
    EXPECT_EQ(ic.GetAvailable(&left), NoError);
    EXPECT_EQ(left, 0u);
    EXPECT_EQ(ic.Skip(1, &skipped), ErrEndOfInput);
    EXPECT_EQ(skipped, 0u);
}

TEST(IMemChannel, CopiesReadOnTheirOwnWithTheirOwnProtocol)
{
    auto* const original = new IMemChannel("\1\2", 2);
    UInt8 byte;
    original->Read(byte);
    IMemChannel copy(*original);
    delete original;
    EXPECT_EQ(copy.Read(byte), NoError);
    EXPECT_EQ(byte, 2);
}

TEST(OMemChannel, GrowsInStepsBehindAReservedByte)
{
    OMemChannel oc;
    for (int i = 0; i < 4095; ++i) {
        oc.Write(static_cast<char>(i));
    }
    const char* const data = oc.LockData();
    EXPECT_EQ(data[-1], 0);
    EXPECT_EQ(oc.Write('z'), NoError);
    EXPECT_EQ(oc.DataSize(), 4096u);
    EXPECT_EQ(oc.LockData()[0], 0);
    EXPECT_EQ(oc.LockData()[4095], 'z');

    std::string block(100000, 'q');
    UInt32 written = 0;
    EXPECT_EQ(oc.WriteBin(block.data(), 100000, &written), NoError);
    EXPECT_EQ(written, 100000u);
    EXPECT_EQ(Bytes(oc).substr(4096), block);
}

TEST(OMemChannel, RefusesABlockBeyondTheHandlesRange)
{
    OMemChannel oc;
    oc << 'a';
    UInt32 written = 9;
    EXPECT_EQ(oc.WriteBin("x", 0x80000000u, &written), ErrMemoryFull);
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(oc.DataSize(), 0u);
    EXPECT_EQ(oc.LockData(), nullptr);
    written = 9;
    EXPECT_EQ(oc.WriteBin("x", 1, &written), ErrMemoryFull);
    EXPECT_EQ(written, 9u);
    oc.ResetOutputStatus();
    EXPECT_EQ(Bytes(oc), "a");
}

TEST(OMemChannel, StartsAFreshBlockAfterAFailedGrowth)
{
    Testing::SweepAllocationFailures([] {
        OMemChannel oc;
        const std::string block(5000, 'x');
        oc.WriteBin(block.data(), 5000, nullptr);
        OMemChannel copy(oc);
        if (copy.GetOutputStatus() == NoError) {
            EXPECT_EQ(copy.DataSize(), 5000u);
            return true;
        }
        EXPECT_EQ(copy.GetOutputStatus(), ErrMemoryFull);
        FaultInjection::Disable();
        copy.ResetOutputStatus();
        EXPECT_EQ(copy.DataSize(), 0u);
        EXPECT_EQ(copy.Write('n'), NoError);
        EXPECT_EQ(Bytes(copy), "n");
        return false;
    });
}

TEST(OMemChannel, BlocksCostTwoZerosWithoutMarks)
{
    EXPECT_EQ(Written([](OChannel& oc) {
                  EXPECT_EQ(oc.OpenBlock(), NoError);
                  oc << 'x';
                  EXPECT_EQ(oc.CloseBlock(), NoError);
              }),
              "\0\0\0\0x\0\0\0\0"_b);
    OMemChannel oc;
    EXPECT_EQ(oc.PushMark(), ErrGeneral);
    EXPECT_EQ(oc.GetOutputPosition(nullptr), ErrGeneral);
    EXPECT_EQ(oc.Flush(), NoError);
}

TEST(OMemChannel, CopiesOwnTheirBytes)
{
    OMemChannel original;
    original << "one";
    OMemChannel copy(original);
    original << "two";
    EXPECT_EQ(Bytes(copy), "\4\0\0\0one\0"_b);
    copy = original;
    copy = *&copy;
    EXPECT_EQ(Bytes(copy), Bytes(original));
}

// Claims to hold more than 32 bits can count.
class HugeChannel : public IMemChannel {
public:
    HugeChannel() : IMemChannel("", 0) {}
    using IMemChannel::GetAvailable;
    QVErrCode GetAvailable(UInt64* n) const override
    {
        *n = UInt64{1} << 32;
        return NoError;
    }
};

TEST(Channel, SaysWhenTheAvailableCountDoesNotFit)
{
    UInt32 n = 5;
    EXPECT_EQ(HugeChannel().GetAvailable(&n), ErrGeneral);
    EXPECT_EQ(n, 0u);
}

TEST(Channel, CopiesBytesToTheEndOrToACount)
{
    const std::string source(10000, 's');
    const auto copy = [&](UInt64 n, QVErrCode expected) {
        IMemChannel in(source.data(), static_cast<int>(source.size()));
        OMemChannel out;
        EXPECT_EQ(Copy(in, out, n), expected);
        return out.DataSize();
    };
    EXPECT_EQ(copy(~UInt64{0}, NoError), 10000u);
    EXPECT_EQ(copy(10000, NoError), 10000u);
    EXPECT_EQ(copy(4096, NoError), 4096u);
    EXPECT_EQ(copy(0, NoError), 0u);
    EXPECT_EQ(copy(10001, ErrEndOfInput), 10000u);
}

TEST(Channel, ConvertsOnlyTheEndOfInputInsideObjects)
{
    EXPECT_EQ(IChannel::ConvertObjectReadError(ErrEndOfInput), static_cast<int>(0x81000000));
    EXPECT_EQ(IChannel::ConvertObjectReadError(ErrWrite), ErrWrite);
    EXPECT_TRUE(NeedByteSwap(MacPlatformSign));
    EXPECT_FALSE(NeedByteSwap(MacIntelPlatformSign));
}

TEST(Channel, ACopyHasAContextOfItsOwnUnlessOneWasSet)
{
    SerializationContext context;
    IMemChannel original("", 0);
    EXPECT_NE(&IMemChannel(original).GetInputContext(), &original.GetInputContext());
    original.SetInputContext(context);
    EXPECT_EQ(&IMemChannel(original).GetInputContext(), &context);
}

} // namespace
