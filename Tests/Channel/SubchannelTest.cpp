#include "Tests/Support/FaultSweep.hpp"
#include "Tests/Support/StubbornBinaryChannels.hpp"

#include <QVRoot/Channel/BufferedIBinaryChannel.hpp>
#include <QVRoot/Channel/IBinaryChannelUtilities.hpp>
#include <QVRoot/Channel/MemoryIBinaryChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedIBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedOBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/LengthDeterminedIBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/LengthDeterminedOBinarySubChannel.hpp>

#include <functional>
#include <gtest/gtest.h>
#include <vector>

namespace QV {

namespace {

using Test::StubbornIBinaryChannel;
using Test::StubbornOBinaryChannel;

std::string operator""_b(const char* text, std::size_t size)
{
    return std::string(text, size);
}

using Writer = std::function<void(OBinaryChannel&)>;

std::string WriteChunked(UInt32 chunkSize, const Writer& write,
                         const OProtocolX& protocol = platformOProtocolX)
{
    StubbornOBinaryChannel out;
    ChunkedOBinarySubChannel section(out, protocol, chunkSize);
    write(section);
    section.Close();
    return out.bytes;
}

std::string WriteCounted(const Writer& write, const OProtocolX& protocol = platformOProtocolX)
{
    StubbornOBinaryChannel out;
    LengthDeterminedOBinarySubChannel section(out, protocol);
    write(section);
    section.Close();
    return out.bytes;
}

void WriteString(OBinaryChannel& out, const std::string& bytes)
{
    out.Write(bytes.data(), static_cast<UInt32>(bytes.size()));
}

std::string ReadRest(IBinaryChannel& in, UInt32 step)
{
    std::string rest(10000, '\0');
    USize size = 0;
    while (const UInt32 got = in.Read(&rest[size], step, size % 2 == 0 ? ReadAll : ReadAtLeastOne)) {
        size += got;
    }
    return rest.substr(0, size);
}

/// Reads a `UInt32` in front of the section, the section, and one behind it, with every kind of section.
struct Framing {
    const char* name;
    int levels; ///< small chunks grow much with every level
    std::function<RefPtr<OBinaryChannel>(RefPtr<OBinaryChannel>)> makeOutput;
    std::function<RefPtr<IBinaryChannel>(RefPtr<IBinaryChannel>)> makeInput;
};

template <class Output, class Input, class... Arguments>
Framing MakeFraming(const char* name, int levels, const OProtocolX& oprotocol, const IProtocolX& iprotocol,
                    Arguments... arguments)
{
    return {name, levels,
            [=, &oprotocol](RefPtr<OBinaryChannel> out) -> RefPtr<OBinaryChannel> {
                return MakeRef<Output>(out, oprotocol, arguments...);
            },
            [&iprotocol](RefPtr<IBinaryChannel> in) -> RefPtr<IBinaryChannel> {
                return MakeRef<Input>(in, iprotocol);
            }};
}

std::vector<Framing> MakeFramings()
{
    using ChunkedO = ChunkedOBinarySubChannel;
    using ChunkedI = ChunkedIBinarySubChannel;
    using CountedO = LengthDeterminedOBinarySubChannel;
    using CountedI = LengthDeterminedIBinarySubChannel;
    return {MakeFraming<ChunkedO, ChunkedI>("chunks of 1", 2, platformOProtocolX, platformIProtocolX, 1u),
            MakeFraming<ChunkedO, ChunkedI>("chunks of 7", 8, swappingOProtocolX, swappingIProtocolX, 7u),
            MakeFraming<ChunkedO, ChunkedI>("chunks of 4096", 200, networkByteOrderOProtocolX,
                                            networkByteOrderIProtocolX, 4096u),
            MakeFraming<CountedO, CountedI>("length", 200, platformOProtocolX, platformIProtocolX),
            MakeFraming<CountedO, CountedI>("length, network order", 200, networkByteOrderOProtocolX,
                                            networkByteOrderIProtocolX)};
}

constexpr char head[] = "head";
constexpr char tail[] = "tail";
const std::string content = "0123456789abcdef\0\xFF!"_b;

/// head { content of level 1, head { level 2 … } tail } tail
void WriteNested(const Framing& framing, const RefPtr<OBinaryChannel>& out, int levels)
{
    out->Write(head, 4);
    if (levels != 0) {
        const RefPtr<OBinaryChannel> section = framing.makeOutput(out);
        WriteString(*section, content);
        WriteNested(framing, section, levels - 1);
        section->Close();
    }
    out->Write(tail, 4);
}

void Expect(IBinaryChannel& in, const std::string& expected)
{
    std::string bytes(expected.size(), '?');
    IBinaryChannelUtilities::ReadExactly(in, bytes.data(), bytes.size());
    EXPECT_EQ(bytes, expected);
}

/// `leaveAt`: the level whose section is left without reading on.
void ReadNested(const Framing& framing, const RefPtr<IBinaryChannel>& in, int levels, int leaveAt)
{
    Expect(*in, head);
    if (levels != 0) {
        const RefPtr<IBinaryChannel> section = framing.makeInput(in);
        Expect(*section, content.substr(0, 5));
        if (levels != leaveAt) {
            Expect(*section, content.substr(5));
            ReadNested(framing, section, levels - 1, leaveAt);
            EXPECT_TRUE(section->IsEOI());
            char c;
            EXPECT_EQ(section->Read(&c, 1), 0u);
            EXPECT_EQ(section->GetAvailable(), 0u);
        }
        section->Close();
        EXPECT_TRUE(section->IsEOI());
    }
    Expect(*in, tail);
}

std::string MakeNested(const Framing& framing, int levels)
{
    const RefPtr<StubbornOBinaryChannel> out = MakeRef<StubbornOBinaryChannel>();
    WriteNested(framing, out, levels);
    return out->bytes;
}

} // namespace

TEST(ChunkedOutput, CutsTheSectionIntoChunks)
{
    const auto ten = [](OBinaryChannel& out) { out.Write("0123456789", 10); };
    EXPECT_EQ(WriteChunked(4, ten), "\4\0\0\0"
                                    "0123"
                                    "\4\0\0\0"
                                    "4567"
                                    "\2\0\0\0"
                                    "89"
                                    "\0\0\0\0"_b);
    EXPECT_EQ(WriteChunked(
                  4, [](OBinaryChannel& out) { out.Write("01234567", 8); }, swappingOProtocolX),
              "\0\0\0\4"
              "0123"
              "\0\0\0\4"
              "4567"
              "\0\0\0\0"_b);
    EXPECT_EQ(WriteChunked(4, [](OBinaryChannel&) {}), "\0\0\0\0"_b);
    EXPECT_EQ(WriteChunked(4, [](OBinaryChannel& out) { out.Write("", 0); }), "\0\0\0\0"_b);
    for (const UInt32 step : {1u, 2u, 3u, 5u, 9u}) {
        EXPECT_EQ(WriteChunked(4,
                               [&](OBinaryChannel& out) {
                                   for (UInt32 i = 0; i < 10; i += step) {
                                       out.Write(&"0123456789"[i], std::min(step, 10 - i));
                                   }
                               }),
                  WriteChunked(4, ten));
    }
}

TEST(ChunkedOutput, WritesAFullChunkWhenMoreComesOrWhenFlushed)
{
    StubbornOBinaryChannel out;
    ChunkedOBinarySubChannel section(out, platformOProtocolX, 4);
    section.Write("0123", 4);
    EXPECT_EQ(out.bytes, "");
    section.Write("4", 1);
    EXPECT_EQ(out.bytes, "\4\0\0\0"
                         "0123"_b);
    section.Flush();
    EXPECT_EQ(out.bytes, "\4\0\0\0"
                         "0123"
                         "\1\0\0\0"
                         "4"_b);
    EXPECT_EQ(out.flushes, 1);
    section.Flush();
    section.Close();
    EXPECT_EQ(out.bytes.size(), 17u);
    EXPECT_FALSE(out.isClosed);
    section.Close();
    EXPECT_EQ(out.bytes.size(), 21u) << "a second end";
    EXPECT_EQ(out.bytes.substr(13), std::string(8, '\0'));
}

TEST(ChunkedOutput, NeedsOneChunkOfMemoryHoweverLongTheSectionGets)
{
    struct : OBinaryChannel {
        void Flush() override {}
        void Close() override {}
        void WriteBytes(const char*, UInt32) override {}
    } nowhere;
    const std::string block(5000, 'b');
    FaultInjection::FailOnce(0);
    ChunkedOBinarySubChannel section(nowhere, platformOProtocolX, 4096);
    for (int i = 0; i < 10000; ++i) {
        WriteString(section, block);
    }
    section.Close();
    FaultInjection::Disable();
    EXPECT_EQ(FaultInjection::GetAttempts(), 1u);
}

TEST(ChunkedOutput, RefusesWrongUse)
{
    StubbornOBinaryChannel out;
    EXPECT_THROW(ChunkedOBinarySubChannel(out, platformOProtocolX, 0), IllegalArgumentException);
    EXPECT_THROW(ChunkedOBinarySubChannel(out, platformOProtocolX, 0xFFFFFFFF), IllegalArgumentException);
    EXPECT_THROW(ChunkedOBinarySubChannel(RefPtr<OBinaryChannel>(), platformOProtocolX, 1),
                 PreconditionException);
    ChunkedOBinarySubChannel section(OChannelX(out), 4);
    EXPECT_THROW(section.Write(nullptr, 0), IllegalArgumentException);
    section.Close();
    EXPECT_THROW(section.Write("x", 1), PreconditionException);
    EXPECT_THROW(section.Write("x", 0), PreconditionException);
    EXPECT_THROW(section.Write(nullptr, 0), IllegalArgumentException);
    EXPECT_THROW(section.Flush(), PreconditionException);
}

TEST(ChunkedInput, NeverReadsAcrossTheEndOfAChunk)
{
    const std::string image =
        WriteChunked(4, [](OBinaryChannel& out) { out.Write("0123456789", 10); }) + "next";
    StubbornIBinaryChannel in(image);
    ChunkedIBinarySubChannel section(in, platformIProtocolX);
    EXPECT_EQ(in.GetPosition(), 0u);
    char bytes[10];
    EXPECT_EQ(section.GetAvailable(), 4u);
    EXPECT_EQ(section.Read(bytes, 10), 4u);
    EXPECT_EQ(in.GetPosition(), 8u) << "it does not read ahead";
    EXPECT_EQ(section.Read(bytes, 3), 3u);
    EXPECT_EQ(section.GetAvailable(), 1u);
    EXPECT_EQ(IBinaryChannelUtilities::ReadUpTo(section, bytes, 10), 3u);
    EXPECT_EQ(std::string(bytes, 3), "789");
    EXPECT_TRUE(section.IsEOI());
    EXPECT_EQ(section.GetAvailable(), 0u);
    section.Close();
    section.Close();
    EXPECT_EQ(in.GetPosition(), image.size() - 4);
    EXPECT_FALSE(in.isClosed);
    EXPECT_THROW(section.Read(nullptr, 1), IllegalArgumentException);
    EXPECT_THROW(section.Read(bytes, 0), IllegalArgumentException);
}

TEST(ChunkedInput, CloseStepsOverWhatWasNotRead)
{
    const std::string image = WriteChunked(3, [](OBinaryChannel& out) { WriteString(out, content); });
    for (UInt32 before = 0; before <= content.size(); ++before) {
        for (const UInt32 most : {1u, 2u, 3u, 7u}) {
            StubbornIBinaryChannel in(image + "next", most);
            ChunkedIBinarySubChannel section(in, platformIProtocolX);
            Expect(section, content.substr(0, before));
            section.Close();
            EXPECT_EQ(in.GetPosition(), image.size());
        }
    }
}

TEST(ChunkedInput, TakesLengthsAsTheyAre)
{
    MemoryIBinaryChannel large("\xFE\xFF\xFF\xFF"
                               "abc",
                               7);
    ChunkedIBinarySubChannel section(large, platformIProtocolX);
    EXPECT_EQ(section.GetAvailable(), 0u) << "compared with a sign";
    EXPECT_FALSE(section.IsEOI());
    Expect(section, "abc");

    MemoryIBinaryChannel marked("\xFF\xFF\xFF\xFF"
                                "abc",
                                7);
    ChunkedIBinarySubChannel ended(marked, platformIProtocolX);
    EXPECT_TRUE(ended.IsEOI());
    ended.Close();
    EXPECT_EQ(marked.GetAvailable(), 3u);
}

TEST(ChunkedInput, ReadsAHeaderOnlyBetweenChunks)
{
    struct Open : ChunkedIBinarySubChannel {
        using ChunkedIBinarySubChannel::ChunkedIBinarySubChannel;
        using ChunkedIBinarySubChannel::ReadHeader;
    };
    MemoryIBinaryChannel in("\2\0\0\0ab\0\0\0\0", 10);
    Open section(in, platformIProtocolX);
    section.ReadHeader();
    EXPECT_THROW(section.ReadHeader(), PreconditionException);
    EXPECT_EQ(ReadRest(section, 2), "ab");
    EXPECT_THROW(section.ReadHeader(), PreconditionException);
}

TEST(LengthDeterminedOutput, WritesLengthAndBytesWhenClosed)
{
    const Writer three = [](OBinaryChannel& out) { out.Write("abc", 3); };
    EXPECT_EQ(WriteCounted(three), "\3\0\0\0\0\0\0\0abc"_b);
    EXPECT_EQ(WriteCounted(three, networkByteOrderOProtocolX), "\0\0\0\0\0\0\0\3abc"_b);
    EXPECT_EQ(WriteCounted([](OBinaryChannel&) {}), std::string(8, '\0'));

    StubbornOBinaryChannel out;
    LengthDeterminedOBinarySubChannel section{OChannelX(out)};
    section.Write("abc", 3);
    section.Flush();
    EXPECT_EQ(out.bytes, "");
    EXPECT_EQ(out.flushes, 0);
    section.Close();
    section.Close();
    EXPECT_EQ(out.bytes.size(), 11u) << "once";
    EXPECT_FALSE(out.isClosed);
    EXPECT_THROW(section.Write("x", 1), PreconditionException);
    EXPECT_THROW(LengthDeterminedOBinarySubChannel(RefPtr<OBinaryChannel>(), platformOProtocolX),
                 PreconditionException);
}

TEST(LengthDeterminedInput, KnowsLengthAndPosition)
{
    MemoryIBinaryChannel in("\3\0\0\0\0\0\0\0abcdef", 14);
    LengthDeterminedIBinarySubChannel section{IChannelX(in)};
    EXPECT_EQ(section.GetLength(), 3u);
    EXPECT_EQ(section.GetAvailable(), 3u);
    char bytes[10];
    EXPECT_THROW(section.Read(nullptr, 1), IllegalArgumentException);
    EXPECT_THROW(section.Read(bytes, 0), IllegalArgumentException);
    EXPECT_EQ(section.Read(bytes, 2), 2u);
    EXPECT_EQ(section.GetPosition(), 2u);
    EXPECT_EQ(section.Read(bytes, 10), 1u);
    EXPECT_EQ(bytes[0], 'c');
    EXPECT_TRUE(section.IsEOI());
    EXPECT_EQ(section.Read(bytes, 10), 0u);
    section.Close();
    EXPECT_EQ(in.GetAvailable(), 3u);

    MemoryIBinaryChannel empty("\0\0\0\0\0\0\0\0x", 9);
    LengthDeterminedIBinarySubChannel nothing(empty, platformIProtocolX);
    EXPECT_TRUE(nothing.IsEOI());
    EXPECT_EQ(nothing.Read(bytes, 1), 0u);
    EXPECT_EQ(nothing.SkipSome(1), 0u);

    MemoryIBinaryChannel hostile("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"
                                 "ab",
                                 10);
    LengthDeterminedIBinarySubChannel endless(hostile, platformIProtocolX);
    EXPECT_EQ(endless.GetAvailable(), 2u) << "no more than there is";
    EXPECT_THROW(endless.Close(), UnexpectedEndOfInputDataIntegrityException);
    EXPECT_EQ(endless.GetPosition(), 2u);
    EXPECT_FALSE(endless.IsEOI());
}

TEST(Subchannels, NestAndStepOverAtEveryLevel)
{
    for (const Framing& framing : MakeFramings()) {
        const int levels = std::min(framing.levels, 8);
        const std::string image = MakeNested(framing, levels);
        for (const UInt32 most : {1u, 2u, 3u, 7u, 100000u}) {
            for (int leaveAt = 0; leaveAt <= levels; ++leaveAt) {
                SCOPED_TRACE(testing::Message()
                             << framing.name << ", " << most << " at a time, left at " << leaveAt);
                const auto in = MakeRef<StubbornIBinaryChannel>(image, most);
                ReadNested(framing, in, levels, leaveAt);
                EXPECT_TRUE(in->IsEOI());
            }
        }
        const auto memory = MakeRef<MemoryIBinaryChannel>(image.data(), image.size());
        ReadNested(framing, memory, levels, levels / 2);
        EXPECT_TRUE(memory->IsEOI());
        const auto buffered = MakeRef<StubbornIBinaryChannel>(image, 5);
        ReadNested({"", 0, nullptr,
                    [&](RefPtr<IBinaryChannel> in) -> RefPtr<IBinaryChannel> {
                        return MakeRef<BufferedIBinaryChannel>(framing.makeInput(in), 16);
                    }},
                   buffered, levels, 0);
        EXPECT_TRUE(buffered->IsEOI());
    }
}

TEST(Subchannels, TheChannelBelowIsBehindTheLastByteReadAtAnyTime)
{
    const std::string image = WriteChunked(8, [](OBinaryChannel& out) {
        LengthDeterminedOBinarySubChannel inner(out, platformOProtocolX);
        WriteString(inner, content);
        inner.Close();
        WriteString(out, content);
    });
    const auto bottom = MakeRef<MemoryIBinaryChannel>(image.data(), image.size());
    const auto outer = MakeRef<ChunkedIBinarySubChannel>(bottom, platformIProtocolX);
    auto inner = MakeRef<LengthDeterminedIBinarySubChannel>(outer, platformIProtocolX);
    Expect(*inner, content.substr(0, 1));
    for (USize i = 1; i < 6; ++i) {
        Expect(*inner, content.substr(i, 1));
        EXPECT_EQ(bottom->GetAvailable(), image.size() - 16 - (i + 1))
            << "two chunk lengths and the section's";
        EXPECT_EQ(inner->GetPosition(), i + 1);
    }
    Expect(*inner, content.substr(6, 3));
    EXPECT_EQ(outer->GetAvailable(), 7u);
    Expect(*outer, content.substr(9, 1)); // past the inner section, which does not know
    Expect(*inner, content.substr(10, 2));
    EXPECT_EQ(inner->GetPosition(), 11u);
    inner = nullptr; // with a part of the window in its hands
    Expect(*outer, content.substr(12));
    EXPECT_EQ(IBinaryChannelUtilities::Skip(*outer, 5), 5u);
    Expect(*outer, content.substr(5, 2));
    outer->Close();
    EXPECT_TRUE(bottom->IsEOI());
}

TEST(Subchannels, SurviveTheChannelBelowUnread)
{
    const std::string image = WriteCounted([](OBinaryChannel& out) { WriteString(out, content); });
    RefPtr<LengthDeterminedIBinarySubChannel> section;
    {
        MemoryIBinaryChannel bottom(image.data(), image.size());
        BufferedIBinaryChannel buffered(bottom, 64);
        section = MakeRef<LengthDeterminedIBinarySubChannel>(buffered, platformIProtocolX);
        Expect(*section, content.substr(0, 5));
        Expect(*section, content.substr(5, 1));
    }
    EXPECT_EQ(section->GetPosition(), 6u);
}

TEST(Subchannels, AThousandLevelsAreOnlyDeep)
{
    for (const Framing& framing : MakeFramings()) {
        const auto in = MakeRef<StubbornIBinaryChannel>(MakeNested(framing, framing.levels));
        ReadNested(framing, in, framing.levels, 0);
        EXPECT_TRUE(in->IsEOI());
        // Input that goes on opening sections until the reader gives up.
        const std::string hostile(100000, '\x01');
        RefPtr<IBinaryChannel> innermost = MakeRef<MemoryIBinaryChannel>(hostile.data(), hostile.size());
        UInt32 levels = 0;
        EXPECT_THROW(
            for (;; ++levels) {
                innermost = framing.makeInput(innermost);
                innermost->IsEOI();
            },
            QVException);
        char c;
        EXPECT_LE(levels, UInt32{FilterIBinaryChannel::MaxNesting});
        try {
            innermost->Read(&c, 1);
            innermost->Close();
            ADD_FAILURE() << "closes sections that have no end";
        } catch (const IOException&) {
        }
    }
}

TEST(Subchannels, InputThatEndsOrFailsAtAnyByteIsReported)
{
    for (const Framing& framing : MakeFramings()) {
        const int levels = std::min(framing.levels, 3);
        const std::string image = MakeNested(framing, levels);
        for (USize cut = 0; cut < image.size(); ++cut) {
            for (const UInt32 most : {1u, 7u}) {
                for (const int leaveAt : {0, 2}) {
                    SCOPED_TRACE(testing::Message() << framing.name << ", cut at " << cut);
                    const auto truncated = MakeRef<StubbornIBinaryChannel>(image.substr(0, cut), most);
                    EXPECT_THROW(ReadNested(framing, truncated, levels, leaveAt), IOException);
                    const auto faulty = MakeRef<StubbornIBinaryChannel>(image, most, cut);
                    EXPECT_THROW(ReadNested(framing, faulty, levels, leaveAt), ReadErrorException);
                }
            }
        }
    }
}

TEST(Subchannels, ASectionThatRunsDryThrowsInsteadOfAnsweringNothing)
{
    MemoryIBinaryChannel in("\5\0\0\0ab", 6);
    ChunkedIBinarySubChannel section(in, platformIProtocolX);
    char bytes[5];
    EXPECT_EQ(section.Read(bytes, 5), 2u);
    EXPECT_THROW(section.Read(bytes, 5), UnexpectedEndOfInputDataIntegrityException);
    EXPECT_THROW(section.Close(), UnexpectedEndOfInputDataIntegrityException);
}

TEST(Subchannels, OutputThatFailsAtAnyByteIsReported)
{
    for (const Framing& framing : MakeFramings()) {
        const int levels = std::min(framing.levels, 3);
        const std::string image = MakeNested(framing, levels);
        for (USize limit = 0; limit < image.size(); ++limit) {
            const auto out = MakeRef<StubbornOBinaryChannel>(limit);
            EXPECT_THROW(WriteNested(framing, out, levels), WriteErrorException);
            EXPECT_EQ(out->bytes, image.substr(0, limit));
        }
    }
}

TEST(Subchannels, LackOfMemoryLeavesNothingBehind)
{
    for (const Framing& framing : MakeFramings()) {
        Testing::SweepAllocationFailures([&] {
            try {
                const auto out = MakeRef<StubbornOBinaryChannel>();
                WriteNested(framing, out, 2);
                const auto in = MakeRef<StubbornIBinaryChannel>(out->bytes);
                ReadNested(framing, in, 2, 0);
                return true;
            } catch (const OutOfMemoryException&) {
                return false;
            }
        });
    }
}

} // namespace QV
