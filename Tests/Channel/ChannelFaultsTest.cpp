// Every serialized form over channels that end or fail after each of its bytes and move only a few at a time.

#include <Host/MarkingMemOChannel.hpp>
#include <Host/PositionedMemIChannel.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/String/String.hpp>
#include <QVRoot/String/UniString.hpp>
#include <Tests/Support/DribblingIChannel.hpp>
#include <Tests/Support/DribblingOChannel.hpp>

#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace QV {

namespace {

using Host::MarkingMemOChannel;
using Host::PositionedMemIChannel;
using Test::DribblingIChannel;
using Test::DribblingOChannel;

constexpr UInt32 dribbles[] = {1, 2, 3, 7};

/// A persistent class of version 2.1. The older one of version 2.0 does not know the second field.
class Wall : public Object {
public:
    explicit Wall(bool older = false) : older_(older) {}

    const ClassInfo* GetClassInfo() const override
    {
        static constexpr ClassInfo info("Wall", {1, 2}, Guid(), {2, 1}, {1, 0});
        static constexpr ClassInfo olderInfo("Wall", {1, 2}, Guid(), {2, 0}, {1, 0});
        return older_ ? &olderInfo : &info;
    }
    QVErrCode Read(IChannel& ic) override
    {
        *this = Wall(older_);
        QVErrCode error = ReadInFrame(ic);
        if (error == NoError) {
            error = ic.GetInputStatus(); // the frame's end has skipped
        }
        if (error != NoError) {
            *this = Wall(older_);
        }
        return IChannel::ConvertObjectReadError(error);
    }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, *GetClassInfo());
        oc << name << height;
        return oc.GetOutputStatus();
    }
    bool operator==(const Wall& other) const { return name == other.name && height == other.height; }

    UniString name;
    double height = 0;

private:
    QVErrCode ReadInFrame(IChannel& ic)
    {
        const InputFrame frame(ic, *GetClassInfo());
        if (frame.GetStatus() != NoError) {
            return frame.GetStatus();
        }
        const QVErrCode error = ic.Read(name);
        return error != NoError || older_ ? error : ic.Read(height);
    }

    bool older_;
};

/// How a form is written and read. A failed reading calls `isAsPromised` with what its destination holds.
struct Form {
    std::string name;
    std::function<QVErrCode(OChannel&)> write;
    std::function<QVErrCode(IChannel&, bool& isValue, bool& isAsPromised)> read;
    bool isFramed = false;       ///< has a length that is written at the end
    bool convertsTheEnd = false; ///< reports an end of input as a format error
};

template <class T>
Form MakeForm(const char* name, const T& value, const T& before, const T& afterFailure)
{
    return {name, [value](OChannel& oc) { return oc.Write(value); },
            [=](IChannel& ic, bool& isValue, bool& isAsPromised) {
                T destination = before;
                const QVErrCode error = ic.Read(destination);
                isValue = destination == value;
                isAsPromised = destination == afterFailure;
                return error;
            }};
}

template <class T>
Form MakeScalar(const char* name, T value)
{
    return MakeForm<T>(name, value, T{}, T{});
}

Form MakeText()
{
    return {"text", [](OChannel& oc) { return oc.Write("abcdef"); },
            [](IChannel& ic, bool& isValue, bool& isAsPromised) {
                char text[] = "......";
                const QVErrCode error = ic.Read(text);
                isValue = std::strcmp(text, "abcdef") == 0;
                const std::size_t same = std::string(text).find_first_of('.');
                isAsPromised = isValue || std::string(text) == std::string("abcdef").substr(0, same) +
                                                                   std::string(6 - same, '.');
                return error;
            }};
}

Form MakeGuid()
{
    constexpr Guid value(0x00112233, 0x4455, 0x6677, {0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF});
    return {"Guid", [=](OChannel& oc) { return oc.Write(value); },
            [=](IChannel& ic, bool& isValue, bool& isAsPromised) {
                Guid guid;
                const QVErrCode error = ic.Read(guid);
                isValue = guid == value;
                // Each part is the old or the new one.
                isAsPromised = (guid.GetData1() == 0 || guid.GetData1() == value.GetData1()) &&
                               (guid.GetData2() == 0 || guid.GetData2() == value.GetData2()) &&
                               (guid.GetData3() == 0 || guid.GetData3() == value.GetData3());
                for (int i = 0; i < 8; ++i) {
                    const UInt8 byte = guid.GetData4()[i];
                    isAsPromised = isAsPromised && (byte == 0 || byte == value.GetData4()[i]);
                }
                return error;
            }};
}

Form MakeVersion()
{
    return {"ClassVersion",
            [](OChannel& oc) {
                return ClassVersion{3, 1}.Write(oc);
            },
            [](IChannel& ic, bool& isValue, bool& isAsPromised) {
                ClassVersion version{9, 9};
                const QVErrCode error = version.Read(ic);
                isValue = version == ClassVersion{3, 1};
                isAsPromised =
                    (version.mainVersion == 9 || version.mainVersion == 3) && version.subVersion == 9;
                return error;
            }};
}

Form MakeString(const UniString& value)
{
    return MakeForm<UniString>("UniString", value, UniString(u"before"), UniString());
}

Form MakeWall(bool olderReader)
{
    Wall wall;
    wall.name = UniString(u"n\u00F6rd");
    wall.height = 2.75;
    return {olderReader ? "object, older reader" : "object", [wall](OChannel& oc) { return oc.Write(wall); },
            [=](IChannel& ic, bool& isValue, bool& isAsPromised) {
                Wall destination(olderReader);
                destination.name = UniString(u"before");
                const QVErrCode error = ic.Read(destination);
                isValue = destination.name == wall.name && (olderReader || destination == wall);
                isAsPromised = destination == Wall();
                return error;
            },
            true, true};
}

std::vector<Form> MakeForms()
{
    return {MakeScalar<char>("char", 'x'),
            MakeScalar<unsigned char>("unsigned char", 0xFE),
            MakeScalar<bool>("bool", true),
            MakeScalar<short>("short", -2),
            MakeScalar<unsigned short>("unsigned short", 0xFFFE),
            MakeScalar<int>("int", -2),
            MakeScalar<unsigned int>("unsigned int", 0xFFFFFFFE),
            MakeScalar<long>("long", -2),
            MakeScalar<unsigned long>("unsigned long", 0xFFFFFFFE),
            MakeScalar<Int64>("Int64", -2),
            MakeScalar<UInt64>("UInt64", ~1ull),
            MakeScalar<float>("float", 1.5f),
            MakeScalar<double>("double", -1.5),
            MakeScalar<long double>("long double", 2.5),
            MakeText(),
            MakeGuid(),
            MakeVersion(),
            MakeString(UniString(u"a\u00DF\U0001F600")),
            MakeString(UniString()),
            MakeForm<String>("String", "gr\xC3\xBC", "before", ""),
            MakeForm<String>("String", String(), "before", ""),
            MakeWall(false),
            MakeWall(true)};
}

std::string WriteImage(const Form& form)
{
    MarkingMemOChannel out;
    EXPECT_EQ(form.write(out), NoError);
    EXPECT_EQ(out.GetOutputStatus(), NoError);
    return std::string(out.GetData(), out.GetSize());
}

void ReadWithFault(const Form& form, const std::string& image, UInt32 most, UInt64 limit, QVErrCode code)
{
    PositionedMemIChannel below(image.data(), image.size());
    DribblingIChannel in(below, most, limit, code);
    const bool fails = limit < image.size();
    QVErrCode expected = fails ? code : QVErrCode{NoError};
    if (form.convertsTheEnd && code == ErrEndOfInput && fails) {
        expected = ErrDataIntegrity;
    }
    bool isValue = false;
    bool isAsPromised = false;
    EXPECT_EQ(form.read(in, isValue, isAsPromised), expected);
    EXPECT_EQ(in.GetInputStatus(), fails ? code : QVErrCode{NoError});
    EXPECT_TRUE(fails ? isAsPromised : isValue);
    if (fails) {
        in.Repair();
        char next = 0;
        EXPECT_EQ(in.Read(next), NoError);
        EXPECT_EQ(next, image[limit]) << "goes on where it failed";
    }
}

void WriteWithFault(const Form& form, const std::string& image, UInt32 most, UInt64 limit)
{
    MarkingMemOChannel below;
    DribblingOChannel out(below, most, limit);
    const UInt64 cost = image.size() + (form.isFramed ? sizeof(UInt32) : 0); // the length is written twice
    const bool fails = limit < cost;
    const QVErrCode error = form.write(out);
    EXPECT_EQ(out.GetOutputStatus(), fails ? ErrOutputFull : NoError);
    EXPECT_TRUE(error == out.GetOutputStatus() || (form.isFramed && limit + sizeof(UInt32) >= cost));
    const std::string before(below.GetData(), below.GetSize());
    if (!form.isFramed) {
        EXPECT_EQ(before, image.substr(0, limit));
    }
    out.Repair();
    EXPECT_EQ(form.write(out), NoError);
    EXPECT_EQ(std::string(below.GetData(), below.GetSize()), before + image) << "the next one is whole";
}

} // namespace

TEST(ChannelFaults, ReadingReportsTheFaultAndLeavesNoHalfValue)
{
    for (const Form& form : MakeForms()) {
        const std::string image = WriteImage(form);
        ASSERT_FALSE(image.empty());
        for (UInt64 limit = 0; limit <= image.size(); ++limit) {
            for (const UInt32 most : dribbles) {
                SCOPED_TRACE(testing::Message() << form.name << ", " << most << " at a time, " << limit
                                                << " of " << image.size());
                ReadWithFault(form, image, most, limit, ErrEndOfInput);
                ReadWithFault(form, image, most, limit, ErrRead);
            }
        }
    }
}

TEST(ChannelFaults, WritingReportsTheFaultAndTheNextValueIsWhole)
{
    for (const Form& form : MakeForms()) {
        const std::string image = WriteImage(form);
        for (UInt64 limit = 0; limit <= image.size() + sizeof(UInt32); ++limit) {
            for (const UInt32 most : dribbles) {
                SCOPED_TRACE(testing::Message() << form.name << ", " << most << " at a time, " << limit
                                                << " of " << image.size());
                WriteWithFault(form, image, most, limit);
            }
        }
    }
}

} // namespace QV
