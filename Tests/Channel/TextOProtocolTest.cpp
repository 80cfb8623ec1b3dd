#include "Tests/Support/DribblingOChannel.hpp"

#include <QVRoot/Channel/TextOMemChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/ClassInfo.hpp>
#include <QVRoot/String/CheckedFormat.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <bit>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace QV {

namespace {

template <class... Values>
std::string Text(const Values&... values)
{
    TextOMemChannel out;
    (out.Write(values), ...);
    EXPECT_EQ(out.GetOutputStatus(), NoError);
    return std::string(out.GetText());
}

class Wall : public Object {
public:
    const ClassInfo* GetClassInfo() const override
    {
        static constexpr ClassInfo info("Wall", {1, 2}, Guid(), {2, 1}, {1, 0});
        return &info;
    }
};

} // namespace

TEST(TextOProtocol, PrintsEveryTypeByItsFormat)
{
    EXPECT_EQ(Text(-5, true, 0.1), "-5true0.1");
    EXPECT_EQ(Text('a', UInt8{65}, static_cast<signed char>(66), false), "aABfalse");
    EXPECT_EQ(Text(std::numeric_limits<Int16>::min(), UInt16{65535}), "-3276865535");
    EXPECT_EQ(Text(std::numeric_limits<Int32>::min(), ~UInt32{0}), "-21474836484294967295");
    EXPECT_EQ(Text(std::numeric_limits<Int64>::min(), ~UInt64{0}),
              "-922337203685477580818446744073709551615");
    EXPECT_EQ(Text(std::numeric_limits<long>::min(), std::numeric_limits<unsigned long>::max()),
              std::to_string(std::numeric_limits<long>::min()) +
                  std::to_string(std::numeric_limits<unsigned long>::max()));
    EXPECT_EQ(Text(0, ' ', 7u, ' ', 10l, ' ', 100ul, ' ', Int64{0}), "0 7 10 100 0");
    EXPECT_EQ(Text("text", "", "more"), "textmore");
    EXPECT_EQ(Text('\0', UInt8{255}), std::string("\0\xFF", 2));
    EXPECT_EQ(Text(static_cast<const void*>(nullptr)), "nullptr");
    EXPECT_EQ(Text(reinterpret_cast<const void*>(USize{0xDEADBEEF})), "0x00000000DEADBEEF");
}

TEST(TextOProtocol, PrintsRealNumbers)
{
    EXPECT_EQ(Text(1.5f, ' ', -0.0f, ' ', 1e-7f, ' ', 0.1f, ' ', -2.5e9f),
              "1.500000 -0.000000 0.000000 0.100000 -2500000000.000000");
    EXPECT_EQ(Text(std::numeric_limits<float>::max()), "340282346638528859811704183484516925440.000000");
    EXPECT_EQ(Text(1.0 / 3, ' ', 1e300, ' ', -0.0, ' ', 100.0, ' ', 8.3, ' ', 1e16, ' ', 1e15),
              "0.3333333333333333 1e+300 -0 100 8.300000000000001 1e+16 1000000000000000");
    EXPECT_EQ(Text(2.5L, ' ', 1e-5, ' ', 0.0001, ' ', std::numeric_limits<double>::denorm_min()),
              "2.5 1e-05 0.0001 4.940656458412465e-324");
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Text(infinity, ' ', -infinity, ' ', static_cast<float>(infinity)), "inf -inf inf");
    EXPECT_EQ(Text(std::numeric_limits<double>::quiet_NaN()), "nan");
    std::mt19937_64 random(4);
    for (int i = 0; i < 20000; ++i) {
        const UInt64 bits = random();
        const double value = std::bit_cast<double>(bits);
        const float single = std::bit_cast<float>(static_cast<UInt32>(bits));
        const double plain = static_cast<double>(static_cast<Int64>(bits % 2000000) - 1000000) / 1000;
        char expected[800];
        checkedsnprintf(expected, sizeof(expected), "%.16g %f %.16g", value, single, plain);
        ASSERT_EQ(Text(value, ' ', single, ' ', plain), expected);
    }
}

TEST(TextOProtocol, RunsAnIdentifiersPartsTogether)
{
    constexpr Guid guid(1, 22, 333, {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'});
    EXPECT_EQ(Text(guid), "122333abcdefgh");
}

TEST(TextOProtocol, LeavesObjectsTheirOwnForm)
{
    EXPECT_EQ(Text(UniString(u"ab")), "\1" + std::string(1, '\0') + "29798");
}

TEST(TextOProtocol, ExceptionsAndDumpsAreReadable)
{
    const PreconditionException cause("too early", "Folder/Cause", 7);
    const IllegalArgumentException exception(UniString(u"not \u00DF"), "Folder/File", 42, cause);
    TextOMemChannel out;
    exception.Print(out);
    EXPECT_EQ(out.GetText(), "IllegalArgumentException: not \xC3\x9F\nFolder/File(42)\n"
                             "Caused byPreconditionException: too early\nFolder/Cause(7)\n");
    TextOMemChannel dump;
    cause.Dump(dump);
    EXPECT_EQ(dump.GetText(), "name:       PreconditionException\nid:         -50\nmessage:    too early\n"
                              "fileName:   Folder/Cause\nlineNumber: 7\n");
    TextOMemChannel object;
    Wall().Dump(object);
    EXPECT_EQ(object.GetText(), "Wall\n");
}

TEST(TextOProtocol, RefusesANullTextAndPassesTheChannelsCodesOn)
{
    TextOMemChannel out;
    EXPECT_EQ(out.Write(static_cast<const char*>(nullptr)), ErrGeneral);
    EXPECT_EQ(out.GetText(), "");
    EXPECT_EQ(out.GetOutputStatus(), NoError);

    TextOMemChannel drain;
    QV::Test::DribblingOChannel narrow(drain, 2, 7);
    narrow.SetOutputProtocol(textOProtocol);
    EXPECT_EQ(narrow.Write(123456), NoError);
    EXPECT_EQ(narrow.Write(1.25), ErrOutputFull);
    EXPECT_EQ(narrow.Write("x"), ErrOutputFull);
    EXPECT_EQ(narrow.Write(""), ErrOutputFull);
    EXPECT_EQ(narrow.Write('x'), ErrOutputFull);
    EXPECT_EQ(drain.GetText(), "1234561");
}

TEST(TextOMemChannel, GoesBackToTextByDefault)
{
    TextOMemChannel out;
    OMemProtocol native;
    out.SetOutputProtocol(native);
    out << 'n' << UInt16{0x3131};
    out.SetDefaultOutputProtocol();
    out << UInt16{77};
    EXPECT_EQ(out.GetText(), "n1177");
}

} // namespace QV
