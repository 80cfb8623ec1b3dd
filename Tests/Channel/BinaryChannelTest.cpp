#include "Tests/Support/FaultSweep.hpp"
#include "Tests/Support/StubbornBinaryChannels.hpp"

#include <QVRoot/Channel/BufferedIBinaryChannel.hpp>
#include <QVRoot/Channel/BufferedOBinaryChannel.hpp>
#include <QVRoot/Channel/IBinaryChannelUtilities.hpp>
#include <QVRoot/Channel/MemoryIBinaryChannel.hpp>
#include <QVRoot/Channel/MemoryOBinaryChannel.hpp>

#include <gtest/gtest.h>

namespace QV {

namespace {

using namespace IBinaryChannelUtilities;
using Test::StubbornIBinaryChannel;
using Test::StubbornOBinaryChannel;

std::string Bytes(MemoryOBinaryChannel& out)
{
    return std::string(out.GetData(), out.GetSize());
}

std::string ReadRest(IBinaryChannel& in, UInt32 step)
{
    std::string rest;
    std::string piece(step, '\0');
    while (const UInt32 got = in.Read(piece.data(), step)) {
        rest.append(piece, 0, got);
    }
    return rest;
}

struct Counted : RefCounted {
    explicit Counted(int& alive) : alive_(alive) { ++alive_; }
    ~Counted() override { --alive_; }
    int& alive_;
};

} // namespace

TEST(RefPtr, TheLastReferenceDeletes)
{
    int alive = 0;
    {
        RefPtr<Counted> first = MakeRef<Counted>(alive);
        RefPtr<RefCounted> second = first;
        first = nullptr;
        EXPECT_EQ(alive, 1);
        second = std::move(second);
        EXPECT_TRUE(second && !first && second == second);
        RefPtr<RefCounted> third(second.Get());
        second = third;
        EXPECT_EQ(alive, 1);
    }
    EXPECT_EQ(alive, 0);
    const Counted onTheStack(alive);
    EXPECT_EQ(alive, 1);
}

TEST(MemoryBinaryChannels, MoveBytesAndRefuseWrongArguments)
{
    MemoryOBinaryChannel out;
    EXPECT_EQ(out.GetSize(), 0u);
    std::string expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string piece(static_cast<std::size_t>(i % 7), static_cast<char>(i));
        out.Write(piece.data(), static_cast<UInt32>(piece.size()));
        expected += piece;
    }
    EXPECT_EQ(Bytes(out), expected);
    EXPECT_THROW(out.Write(nullptr, 0), IllegalArgumentException);
    EXPECT_THROW(out.Write(nullptr, 3), IllegalArgumentException);

    MemoryIBinaryChannel in(out.GetData(), out.GetSize());
    EXPECT_EQ(in.GetAvailable(), expected.size());
    char c;
    EXPECT_THROW(in.Read(nullptr, 3), IllegalArgumentException);
    EXPECT_THROW(in.Read(&c, 0), IllegalArgumentException);
    EXPECT_EQ(Skip(in, 5), 5u);
    EXPECT_EQ(ReadRest(in, 999), expected.substr(5));
    EXPECT_TRUE(in.IsEOI());
    EXPECT_EQ(Skip(in, 5), 0u);
    EXPECT_EQ(in.Read(&c, 1, ReadAtLeastOne), 0u);
    EXPECT_THROW(MemoryIBinaryChannel(nullptr, 1), IllegalArgumentException);
    EXPECT_TRUE(MemoryIBinaryChannel(nullptr, 0).IsEOI());

    out.Clear();
    out.Write("again", 5);
    out.Close();
    EXPECT_EQ(Bytes(out), "again");
    EXPECT_THROW(out.Write("", 0), ClosedChannelException);
    out.Clear();
    EXPECT_THROW(out.Write("x", 1), ClosedChannelException);
    in.Close();
    EXPECT_THROW(in.Read(&c, 1), ClosedChannelException);
    EXPECT_THROW(Skip(in, 1), ClosedChannelException);
}

TEST(MemoryBinaryChannels, AWriteBeyondTheLimitWritesNothing)
{
    MemoryOBinaryChannel out(5);
    out.Write("abc", 3);
    EXPECT_THROW(out.Write("def", 3), MemoryOBinaryChannelBufferFullException);
    out.Write("de", 2);
    EXPECT_THROW(out.Write("f", 1), MemoryOBinaryChannelBufferFullException);
    EXPECT_EQ(Bytes(out), "abcde");
    out.Clear();
    out.Write("12345", 5);
    EXPECT_EQ(Bytes(out), "12345");
}

TEST(MemoryBinaryChannels, KeepTheirBytesWhenTheyCannotGrow)
{
    Testing::SweepAllocationFailures([] {
        MemoryOBinaryChannel out;
        std::string expected;
        try {
            for (int i = 0; i < 20; ++i) {
                out.Write(std::string(100, 'x').data(), 100);
                expected.append(100, 'x');
            }
            return true;
        } catch (const OutOfMemoryException&) {
            EXPECT_EQ(Bytes(out), expected);
            return false;
        }
    });
}

TEST(BufferedBinaryChannels, GiveEveryByteInOrderWhateverTheSizes)
{
    std::string source;
    for (int i = 0; i < 500; ++i) {
        source += static_cast<char>(i * 7);
    }
    for (const UInt32 size : {1u, 2u, 7u, 64u}) {
        for (const UInt32 step : {1u, 2u, 7u, 64u, 499u}) {
            SCOPED_TRACE(testing::Message() << size << " buffered, " << step << " at a time");
            StubbornOBinaryChannel drain;
            BufferedOBinaryChannel out(drain, size);
            for (USize i = 0; i < source.size(); i += step) {
                out.Write(&source[i], static_cast<UInt32>(std::min<USize>(step, source.size() - i)));
            }
            out.Close();
            EXPECT_EQ(drain.bytes, source);
            EXPECT_TRUE(drain.isClosed);

            StubbornIBinaryChannel slow(source, 3);
            BufferedIBinaryChannel in(slow, size);
            char first;
            EXPECT_EQ(in.Read(&first, 1, ReadAtLeastOne), 1u);
            EXPECT_EQ(first, source[0]);
            EXPECT_EQ(in.GetAvailable(), source.size() - 1);
            EXPECT_EQ(Skip(in, 10), 10u);
            EXPECT_EQ(ReadRest(in, step), source.substr(11));
            EXPECT_TRUE(in.IsEOI());
            in.Close();
            EXPECT_TRUE(slow.isClosed);
            EXPECT_THROW(in.Read(&first, 1), ClosedChannelException);
        }
    }
}

TEST(BufferedBinaryChannels, BufferAndFlush)
{
    StubbornOBinaryChannel drain;
    BufferedOBinaryChannel out(drain, 4);
    out.Write("ab", 2);
    out.Write("cd", 2);
    EXPECT_EQ(drain.sizes, "");
    out.Write("e", 1);
    out.Flush();
    out.Flush();
    out.Write("0123456789", 10);
    EXPECT_EQ(drain.sizes, "4 1 10 ");
    EXPECT_EQ(drain.flushes, 2);
    out.Close();
    EXPECT_THROW(out.Close(), ClosedChannelException);
    EXPECT_THROW(out.Write("x", 1), ClosedChannelException);
    EXPECT_THROW(BufferedOBinaryChannel(drain, 0), IllegalArgumentException);

    StubbornIBinaryChannel source("0123456789", 4);
    BufferedIBinaryChannel in(source, 100);
    char bytes[10];
    EXPECT_EQ(in.Read(bytes, 10, ReadAtLeastOne), 4u);
    EXPECT_EQ(in.Read(bytes, 10, ReadAll), 6u);
    StubbornIBinaryChannel faulty("0123456789", 4, 6);
    BufferedIBinaryChannel below(faulty, 2);
    EXPECT_THROW(ReadExactly(below, bytes, 8), ReadErrorException);
}

TEST(Filters, NeedAChannelBelowAndHaveALimit)
{
    EXPECT_THROW(BufferedIBinaryChannel(RefPtr<IBinaryChannel>()), PreconditionException);
    EXPECT_THROW(BufferedOBinaryChannel(RefPtr<OBinaryChannel>()), PreconditionException);
    RefPtr<IBinaryChannel> in = MakeRef<MemoryIBinaryChannel>("abc", 3);
    RefPtr<OBinaryChannel> out = MakeRef<MemoryOBinaryChannel>();
    for (UInt32 i = 0; i < FilterIBinaryChannel::MaxNesting; ++i) {
        in = MakeRef<BufferedIBinaryChannel>(in, 1);
        out = MakeRef<BufferedOBinaryChannel>(out, 1);
    }
    EXPECT_THROW(BufferedIBinaryChannel(in, 1), LimitViolationException);
    EXPECT_THROW(BufferedOBinaryChannel(out, 1), LimitViolationException);
    EXPECT_EQ(ReadRest(*in, 2), "abc");
    out->Write("abc", 3);
    out->Close();
}

TEST(BinaryChannelUtilities, GoOnUntilTheEnd)
{
    const std::string source(10000, 's');
    StubbornIBinaryChannel slow(source, 7);
    MemoryOBinaryChannel out;
    EXPECT_EQ(Copy(slow, out, 4500), 4500u);
    EXPECT_EQ(slow.GetPosition(), 4500u);
    EXPECT_EQ(Skip(slow, 4500), 4500u);
    EXPECT_EQ(slow.GetPosition(), 9000u);
    EXPECT_EQ(Copy(slow, out), 1000u);
    EXPECT_EQ(Skip(slow, ~UInt64{0}), 0u);
    EXPECT_EQ(Bytes(out), std::string(5500, 's'));
}

} // namespace QV
