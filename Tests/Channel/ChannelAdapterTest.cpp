#include "Tests/Support/DribblingIChannel.hpp"
#include "Tests/Support/DribblingOChannel.hpp"
#include "Tests/Support/FaultSweep.hpp"
#include "Tests/Support/StubbornBinaryChannels.hpp"

#include <Host/MarkingMemOChannel.hpp>
#include <Host/PositionedMemIChannel.hpp>
#include <QVRoot/Channel/IBinaryChannelAdapter.hpp>
#include <QVRoot/Channel/IBinaryChannelUtilities.hpp>
#include <QVRoot/Channel/IChannelAdapter.hpp>
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/MemoryIBinaryChannel.hpp>
#include <QVRoot/Channel/OBinaryChannelAdapter.hpp>
#include <QVRoot/Channel/OChannelAdapter.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedIBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedOBinarySubChannel.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/String/UniString.hpp>

#include <gtest/gtest.h>

namespace QV {

namespace {

using Host::MarkingMemOChannel;
using Host::PositionedMemIChannel;
using Test::DribblingIChannel;
using Test::DribblingOChannel;
using Test::StubbornIBinaryChannel;
using Test::StubbornOBinaryChannel;

/// An object with a framed one inside, both with lengths.
class Wall : public Object {
public:
    explicit Wall(int depth = 0) : depth_(depth) {}

    const ClassInfo* GetClassInfo() const override
    {
        static constexpr ClassInfo info("Wall", {1, 2}, Guid(), {2, 1}, {1, 0});
        return &info;
    }
    QVErrCode Write(OChannel& oc) const override
    {
        const OutputFrame frame(oc, *GetClassInfo());
        oc << depth_ << name_;
        if (depth_ != 0) {
            oc << Wall(depth_ - 1);
        }
        oc << UInt64{99}; // what this reader does not know
        return oc.GetOutputStatus();
    }
    QVErrCode Read(IChannel& ic) override
    {
        {
            const InputFrame frame(ic, *GetClassInfo());
            if (frame.GetStatus() != NoError) {
                return frame.GetStatus();
            }
            UniString name;
            if (const QVErrCode error = ic.Read(depth_) != NoError ? ic.GetInputStatus() : ic.Read(name)) {
                return error;
            }
            if (depth_ != 0) {
                Wall inner;
                if (const QVErrCode error = inner.Read(ic)) {
                    return error;
                }
                EXPECT_EQ(inner.depth_, depth_ - 1);
            }
        }
        return ic.GetInputStatus();
    }
    int GetDepth() const { return depth_; }

private:
    int depth_;
    UniString name_{u"wall"};
};

} // namespace

TEST(ChannelAdapters, CarryFramedObjectsThroughSectionsOfAnyChannel)
{
    for (const UInt32 most : {1u, 3u, 100000u}) {
        MarkingMemOChannel file;
        DribblingOChannel dribbling(file, most);
        OBinaryChannelAdapter bytes(dribbling);
        ChunkedOBinarySubChannel section(bytes, platformOProtocolX, 16);
        OChannelAdapter out(section);
        out << 'x' << Wall(3) << UInt32{7};
        EXPECT_EQ(out.Flush(), NoError);
        UInt64 position = 0;
        EXPECT_EQ(out.GetOutputPosition(&position), NoError);
        section.Close();
        bytes.Flush();
        dribbling << "behind";

        MarkingMemOChannel plain;
        plain << 'x' << Wall(3) << UInt32{7};
        EXPECT_EQ(position, plain.GetSize());
        PositionedMemIChannel below(file.GetData(), file.GetSize());
        DribblingIChannel dribblingIn(below, most);
        IBinaryChannelAdapter bytesIn(dribblingIn);
        ChunkedIBinarySubChannel sectionIn(bytesIn, platformIProtocolX);
        IChannelAdapter in(sectionIn);
        std::string image(plain.GetSize(), '?');
        UInt32 got = 0;
        EXPECT_EQ(in.CopyBin(image.data(), static_cast<UInt32>(image.size()), &got), NoError);
        EXPECT_EQ(image, std::string(plain.GetData(), plain.GetSize())) << "as on a channel with marks";
        char x = 0;
        Wall wall;
        UInt32 seven = 0;
        EXPECT_EQ(in.Read(x) | in.Read(wall) | in.Read(seven), NoError);
        EXPECT_TRUE(x == 'x' && wall.GetDepth() == 3 && seven == 7);
        EXPECT_TRUE(in.IsEOI());
        EXPECT_EQ(in.Read(x), ErrEndOfInput);
        sectionIn.Close();
        char text[8];
        EXPECT_EQ(dribblingIn.Read(text), NoError);
        EXPECT_STREQ(text, "behind");
    }
}

TEST(ChannelAdapters, FaultsKeepTheirCodesBothWays)
{
    const QVErrCode codes[] = {ErrRead, ErrDataIntegrity, ErrMemoryFull, ErrWrite, ErrOutputFull};
    for (const QVErrCode code : codes) {
        IMemChannel memory("abc", 3);
        DribblingIChannel faulty(memory, 2, 2, code);
        IBinaryChannelAdapter bytes(faulty);
        IChannelAdapter in(bytes);
        char text[3];
        UInt32 got = 9;
        const bool isReadCode = code == ErrRead || code == ErrDataIntegrity || code == ErrMemoryFull;
        const QVErrCode expected = isReadCode ? code : QVErrCode{ErrRead};
        EXPECT_EQ(in.ReadBin(text, 3, &got), expected);
        got = 9;
        EXPECT_EQ(in.ReadBin(text, 1, &got), expected) << "sticky";
        EXPECT_EQ(got, 9u);

        OMemChannel drain;
        DribblingOChannel full(drain, 2, 2, code);
        OBinaryChannelAdapter bytesOut(full);
        OChannelAdapter out(bytesOut);
        const bool isWriteCode = code == ErrWrite || code == ErrOutputFull || code == ErrMemoryFull;
        EXPECT_EQ(out.WriteBin("abc", 3, &got), isWriteCode ? code : QVErrCode{ErrWrite});
        EXPECT_EQ(got, 0u);
        EXPECT_EQ(out.GetOutputStatus(), out.WriteBin("a", 1, nullptr));
        out.ResetOutputStatus();
        EXPECT_EQ(out.GetOutputStatus(), NoError);
    }
    IMemChannel memory("abc", 3);
    DribblingIChannel faulty(memory, 2, 0, -12345);
    IBinaryChannelAdapter bytes(faulty);
    char c;
    try {
        bytes.Read(&c, 1);
        ADD_FAILURE();
    } catch (const ReadErrorException& e) {
        EXPECT_EQ(e.GetCause()->GetID(), -12345);
    }
}

TEST(IBinaryChannelAdapter, KnowsTheEndAsFarAsItsChannelDoes)
{
    IMemChannel memory("abc", 3); // tells what is available, has no look-ahead
    IBinaryChannelAdapter known(memory);
    EXPECT_EQ(known.GetAvailable(), 3u);
    EXPECT_EQ(IBinaryChannelUtilities::Skip(known, 2), 2u);
    EXPECT_FALSE(known.IsEOI());
    EXPECT_EQ(IBinaryChannelUtilities::Skip(known, 2), 1u);
    EXPECT_TRUE(known.IsEOI());

    PositionedMemIChannel positioned("ab", 2); // looks ahead
    IBinaryChannelAdapter looking(positioned);
    char text[3];
    EXPECT_FALSE(looking.IsEOI());
    EXPECT_EQ(looking.Read(text, 2), 2u);
    EXPECT_TRUE(looking.IsEOI());

    IMemChannel below("ab", 2);
    DribblingIChannel blind(below, 1); // knows nothing before a read has failed
    IBinaryChannelAdapter unknown(blind);
    EXPECT_EQ(unknown.Read(text, 2, ReadAtLeastOne), 1u);
    EXPECT_EQ(unknown.Read(text, 2, ReadAll), 1u);
    EXPECT_EQ(unknown.GetAvailable(), 0u);
    EXPECT_TRUE(unknown.IsEOI());
    EXPECT_EQ(unknown.Read(text, 2), 0u);

    unknown.Close();
    EXPECT_THROW(unknown.Read(text, 1), ClosedChannelException);
    OMemChannel memoryOut;
    OBinaryChannelAdapter out(memoryOut);
    out.Write("", 0);
    out.Close();
    EXPECT_THROW(out.Write("a", 1), ClosedChannelException);
    EXPECT_THROW(out.Flush(), ClosedChannelException);
}

TEST(IChannelAdapter, LooksAheadAndTakesBack)
{
    StubbornIBinaryChannel source("0123456789", 3);
    IChannelAdapter in(source);
    char text[11] = {};
    char c = 0;
    UInt32 got = 0;
    UInt64 position = 9;
    EXPECT_EQ(in.PushBack('x'), ErrParam) << "nothing was consumed";
    EXPECT_EQ(in.Look(4, &c), NoError);
    EXPECT_EQ(c, '4');
    EXPECT_EQ(in.GetInputPosition(&position), NoError);
    EXPECT_EQ(position, 0u);
    EXPECT_EQ(in.Skip(2, nullptr), NoError);
    EXPECT_EQ(in.ReadBin(text, 6, &got), NoError);
    EXPECT_EQ(std::string(text, got), "234567");
    EXPECT_EQ(in.PushBack("BCDE", 4), NoError);
    EXPECT_EQ(in.PushBack('A'), NoError);
    EXPECT_EQ(in.PushBack("wxyz", 4), ErrParam);
    UInt64 available = 0;
    EXPECT_EQ(in.GetAvailable(&available), NoError);
    EXPECT_EQ(available, 7u);
    EXPECT_EQ(in.CopyBin(text, 10, &got), ErrEndOfInput);
    EXPECT_EQ(std::string(text, got), "ABCDE89");
    EXPECT_EQ(in.GetInputStatus(), NoError) << "nothing was consumed";
    EXPECT_EQ(in.Look(7, &c), ErrEndOfInput);
    EXPECT_FALSE(in.IsEOI());
    EXPECT_EQ(in.ReadBin(text, 10, &got), ErrEndOfInput);
    EXPECT_EQ(std::string(text, got), "ABCDE89");
    EXPECT_TRUE(in.IsEOI());
    in.ResetInputStatus();
    EXPECT_EQ(in.Skip(1, &position), ErrEndOfInput);
    EXPECT_EQ(position, 0u);
    EXPECT_EQ(in.Look(0xFFFFFFFF, &c), ErrEndOfInput);
    in.ResetInputStatus();
    EXPECT_EQ(in.Look(0xFFFFFFFF, &c), ErrParam);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(in.PushBack(static_cast<char>('9' - i)), NoError);
    }
    EXPECT_EQ(in.ReadBin(text, 10, nullptr), NoError);
    EXPECT_STREQ(text, "0123456789");
}

TEST(ChannelAdapters, LackOfMemoryIsACode)
{
    const Wall wall;
    Testing::SweepAllocationFailures([&] {
        StubbornOBinaryChannel drain;
        OChannelAdapter out(drain);
        out.OpenBlock();
        out << wall;
        out.CloseBlock();
        if (out.GetOutputStatus() != NoError) {
            EXPECT_EQ(out.GetOutputStatus(), ErrMemoryFull);
            FaultInjection::Disable();
            out.ResetOutputStatus();
            const std::string before = drain.bytes;
            out.OpenBlock();
            out << 'x';
            out.CloseBlock();
            EXPECT_EQ(drain.bytes, before + std::string("\1\0\0\0x", 5)) << "the next block is whole";
            return false;
        }
        StubbornIBinaryChannel source(drain.bytes);
        IChannelAdapter in(source);
        char c;
        const QVErrCode error = in.Look(9, &c);
        EXPECT_TRUE(error == NoError || error == ErrMemoryFull);
        return error == NoError;
    });
}

TEST(OChannelAdapter, PopsOnlyMarksThatWerePushed)
{
    StubbornOBinaryChannel drain;
    OChannelAdapter out(drain);
    EXPECT_EQ(out.PopMark(), ErrGeneral);
    EXPECT_EQ(out.PushMark(), NoError);
    out << 'a';
    EXPECT_EQ(drain.bytes, "");
    EXPECT_EQ(out.PopMark(), NoError);
    EXPECT_EQ(out.GetOffset(), 1u);
    out.ResetOffset();
    EXPECT_EQ(drain.bytes, "a");
}

} // namespace QV
