// Scalars go past protocol and channel into the memory of memory channels. Nothing may show of that.

#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/SwappedMemProtocol.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <gtest/gtest.h>
#include <string>

namespace QV {

namespace {

std::string Bytes(OMemChannel& oc)
{
    return std::string(oc.LockData(), oc.DataSize());
}

TEST(MemWindow, ProtocolsAndWaysOfWritingMayAlternate)
{
    OSwappedMemProtocol swapped;
    OMemChannel oc;
    oc << UInt16{1} << UInt16{2};
    EXPECT_EQ(oc.DataSize(), 4u);
    oc.SetOutputProtocol(swapped);
    oc << UInt16{3};
    oc.SetDefaultOutputProtocol();
    oc << UInt16{4} << Guid(1, 2, 3, {}) << UniString(u"x");
    UInt32 written = 0;
    EXPECT_EQ(oc.WriteBin("ab", 2, &written), NoError);
    oc << UInt8{5};
    OMemChannel copy(oc);
    copy << UInt8{6};
    oc << UInt8{7};
    const std::string both("\1\0\2\0\0\3\4\0"
                           "\1\0\0\0\2\0\3\0\0\0\0\0\0\0\0\0"
                           "\1\0\1\0\0\0x\0"
                           "ab\5",
                           35);
    EXPECT_EQ(Bytes(oc), both + '\7');
    EXPECT_EQ(Bytes(copy), both + '\6');
    copy = oc;
    copy << UInt8{8};
    EXPECT_EQ(Bytes(copy), both + "\7\x08");
    EXPECT_EQ(Bytes(oc), both + '\7');

    ISwappedMemProtocol iSwapped;
    IMemChannel ic(both.data(), static_cast<int>(both.size()));
    UInt16 number[4] = {};
    ic.Read(number[0]);
    ic.Read(number[1]);
    ic.SetInputProtocol(iSwapped);
    ic.Read(number[2]);
    ic.SetDefaultInputProtocol();
    IMemChannel icCopy(ic);
    ic.Read(number[3]);
    EXPECT_EQ((std::string{char(number[0]), char(number[1]), char(number[2]), char(number[3])}), "\1\2\3\4");
    UInt64 rest = 0;
    ic.GetAvailable(&rest);
    EXPECT_EQ(rest, both.size() - 8);
    icCopy.GetAvailable(&rest);
    EXPECT_EQ(rest, both.size() - 6);
    const IMemChannel& same = ic;
    ic = same;
    Guid id;
    UniString text;
    char raw[2] = {};
    UInt8 last = 0;
    EXPECT_EQ(ic.Read(id), NoError);
    EXPECT_EQ(ic.Read(text), NoError);
    EXPECT_EQ(ic.ReadBin(raw, 2, nullptr), NoError);
    EXPECT_EQ(ic.Read(last), NoError);
    EXPECT_EQ(id, Guid(1, 2, 3, {}));
    EXPECT_EQ(text, u"x");
    EXPECT_EQ(std::string(raw, 2), "ab");
    EXPECT_EQ(last, 5);
    UInt32 beyond = 9;
    EXPECT_EQ(ic.Read(beyond), ErrEndOfInput);
    EXPECT_EQ(beyond, 9u);
    EXPECT_EQ(ic.Read(last), ErrEndOfInput) << "sticky";
}

TEST(MemWindow, GrowthKeepsEveryByte)
{
    OMemChannel oc;
    for (UInt32 i = 0; i < 100000; ++i) {
        oc << i;
        if (i % 1000 == 0) {
            EXPECT_EQ(oc.DataSize(), 4 * (i + 1));
        }
    }
    IMemChannel ic(oc.LockData(), static_cast<int>(oc.DataSize()));
    UInt32 value = 0;
    for (UInt32 i = 0; i < 100000; ++i) {
        ASSERT_EQ(ic.Read(value), NoError);
        ASSERT_EQ(value, i);
    }
    EXPECT_EQ(ic.Skip(1, nullptr), ErrEndOfInput);
}

TEST(MemWindow, DerivedChannelsAndProtocolsSeeEverything)
{
    class Counting : public OMemChannel {
    public:
        QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override
        {
            ++calls;
            return OMemChannel::WriteBin(src, n, written);
        }
        int calls = 0;
    };
    class Doubling : public OMemProtocol {
    public:
        using OMemProtocol::Write;
        QVErrCode Write(OChannel& oc, UInt32 value) override { return OMemProtocol::Write(oc, 2 * value); }
    };
    Counting counting;
    counting << UInt32{1} << UInt32{2} << 1.5;
    EXPECT_EQ(counting.calls, 3);
    Doubling doubling;
    OMemChannel oc;
    oc << UInt8{0};
    oc.SetOutputProtocol(doubling);
    oc << UInt32{3} << UInt32{4};
    EXPECT_EQ(Bytes(oc), std::string("\0\6\0\0\0\x08\0\0\0", 9));
}

} // namespace

} // namespace QV
