// Sections of bytes against what a program would take instead: a nested block as a byte array of a data
// stream, a length-delimited field of a coded stream, and the copying alone. One workload writes or reads
// 16384 numbers of 32 bits, or 64 KiB in blocks of 4096 bytes, inside the given number of nested sections.
#include <QVRoot/Channel/BufferedIBinaryChannel.hpp>
#include <QVRoot/Channel/MemoryIBinaryChannel.hpp>
#include <QVRoot/Channel/MemoryOBinaryChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedIBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedOBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/LengthDeterminedIBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/LengthDeterminedOBinarySubChannel.hpp>

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#ifdef QV_PEER_QT
#include <QBuffer>
#include <QByteArray>
#include <QDataStream>
#endif
#ifdef QV_PEER_PROTOBUF
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#endif

namespace {

using namespace QV;

constexpr UInt32 Numbers = 16384;
constexpr UInt32 Bytes = Numbers * 4;
constexpr UInt32 BlockSize = 4096;
constexpr UInt32 ChunkSize = 4096;

const std::string block(BlockSize, 'b');

struct Chunked {
    using Input = ChunkedIBinarySubChannel;
    static RefPtr<OBinaryChannel> MakeOutput(RefPtr<OBinaryChannel> out)
    {
        return MakeRef<ChunkedOBinarySubChannel>(out, platformOProtocolX, ChunkSize);
    }
};

struct Counted {
    using Input = LengthDeterminedIBinarySubChannel;
    static RefPtr<OBinaryChannel> MakeOutput(RefPtr<OBinaryChannel> out)
    {
        return MakeRef<LengthDeterminedOBinarySubChannel>(out, platformOProtocolX);
    }
};

void WriteNumbers(OBinaryChannel& out)
{
    for (UInt32 i = 0; i < Numbers; ++i) {
        platformOProtocolX.Write(out, i);
    }
}

void WriteBlocks(OBinaryChannel& out)
{
    for (UInt32 i = 0; i < Bytes / BlockSize; ++i) {
        out.Write(block.data(), BlockSize);
    }
}

template <class Framing>
void WriteSections(const RefPtr<OBinaryChannel>& out, Int64 levels, void (*write)(OBinaryChannel&))
{
    if (levels == 0) {
        write(*out);
        return;
    }
    const RefPtr<OBinaryChannel> section = Framing::MakeOutput(out);
    WriteSections<Framing>(section, levels - 1, write);
    section->Close();
}

template <class Framing>
RefPtr<MemoryOBinaryChannel> WriteAll(Int64 levels, void (*write)(OBinaryChannel&))
{
    auto out = MakeRef<MemoryOBinaryChannel>();
    WriteSections<Framing>(out, levels, write);
    return out;
}

UInt32 ReadNumbers(IBinaryChannel& in)
{
    UInt32 sum = 0;
    for (UInt32 i = 0; i < Numbers; ++i) {
        UInt32 value;
        platformIProtocolX.Read(in, value);
        sum += value;
    }
    return sum;
}

UInt32 ReadBuffered(IBinaryChannel& in)
{
    BufferedIBinaryChannel buffered(in);
    return ReadNumbers(buffered);
}

UInt32 ReadBlocks(IBinaryChannel& in)
{
    char bytes[BlockSize];
    UInt32 total = 0;
    while (const UInt32 got = in.Read(bytes, BlockSize)) {
        total += got;
        benchmark::DoNotOptimize(bytes);
    }
    return total;
}

UInt32 ReadNothing(IBinaryChannel&)
{
    return 0;
}

template <class Framing>
UInt32 ReadSections(IBinaryChannel& in, Int64 levels, UInt32 (*read)(IBinaryChannel&))
{
    if (levels == 0) {
        return read(in);
    }
    typename Framing::Input section(in, platformIProtocolX);
    const UInt32 result = ReadSections<Framing>(section, levels - 1, read);
    section.Close();
    return result;
}

template <class Framing>
void WriteQV(benchmark::State& state, void (*write)(OBinaryChannel&))
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(WriteAll<Framing>(state.range(0), write)->GetData());
    }
    state.SetBytesProcessed(state.iterations() * Bytes);
}

template <class Framing>
void ReadQV(benchmark::State& state, UInt32 (*read)(IBinaryChannel&))
{
    const auto image = WriteAll<Framing>(state.range(0), WriteNumbers);
    for (auto _ : state) {
        MemoryIBinaryChannel in(image->GetData(), image->GetSize());
        benchmark::DoNotOptimize(ReadSections<Framing>(in, state.range(0), read));
    }
    state.SetBytesProcessed(state.iterations() * Bytes);
}

template <class Framing>
void Register(const std::string& name)
{
    const auto add = [](const std::string& title, auto function, auto argument) {
        benchmark::RegisterBenchmark(title.c_str(),
                                     [=](benchmark::State& state) { function(state, argument); })
            ->ArgName("levels")
            ->Arg(1)
            ->Arg(2)
            ->Arg(4)
            ->Arg(8);
    };
    add("WriteNumbers/QV" + name, WriteQV<Framing>, WriteNumbers);
    add("WriteBlocks/QV" + name, WriteQV<Framing>, WriteBlocks);
    add("ReadNumbers/QV" + name, ReadQV<Framing>, ReadNumbers);
    add("ReadNumbers/QV" + name + "Buffered", ReadQV<Framing>, ReadBuffered);
    add("ReadBlocks/QV" + name, ReadQV<Framing>, ReadBlocks);
    add("StepOver/QV" + name, ReadQV<Framing>, ReadNothing);
}

[[maybe_unused]] const bool isRegistered = [] {
    Register<Chunked>("Chunked");
    Register<Counted>("LengthDetermined");
    return true;
}();

/// What is written goes nowhere: the cost of the section alone.
class NoOutput : public OBinaryChannel {
public:
    void Flush() override {}
    void Close() override {}

protected:
    void WriteBytes(const char*, UInt32) override {}
};

void WriteEverLonger(benchmark::State& state)
{
    for (auto _ : state) {
        NoOutput out;
        ChunkedOBinarySubChannel section(out, platformOProtocolX, ChunkSize);
        for (Int64 i = 0; i < state.range(0); i += BlockSize) {
            section.Write(block.data(), BlockSize);
        }
        section.Close();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(WriteEverLonger)
    ->Name("WriteEverLonger/QVChunked")
    ->ArgName("bytes")
    ->RangeMultiplier(64)
    ->Range(1 << 16, 1 << 28);

void WriteBlocksMemcpy(benchmark::State& state)
{
    std::vector<char> to(Bytes);
    for (auto _ : state) {
        for (UInt32 i = 0; i < Bytes; i += BlockSize) {
            std::memcpy(to.data() + i, block.data(), BlockSize);
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * Bytes);
}
BENCHMARK(WriteBlocksMemcpy)->Name("WriteBlocks/memcpy");
BENCHMARK(WriteBlocksMemcpy)->Name("ReadBlocks/memcpy");

void WriteNumbersMemcpy(benchmark::State& state)
{
    std::vector<char> to(Bytes);
    for (auto _ : state) {
        for (UInt32 i = 0; i < Numbers; ++i) {
            std::memcpy(to.data() + 4 * i, &i, 4);
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(state.iterations() * Bytes);
}
BENCHMARK(WriteNumbersMemcpy)->Name("WriteNumbers/memcpy");

#ifdef QV_PEER_QT

void WriteQtLevel(QDataStream& out, Int64 levels, bool numbers)
{
    if (levels != 0) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QDataStream inner(&buffer);
        WriteQtLevel(inner, levels - 1, numbers);
        out << buffer.data();
    } else if (numbers) {
        for (quint32 i = 0; i < Numbers; ++i) {
            out << i;
        }
    } else {
        for (UInt32 i = 0; i < Bytes / BlockSize; ++i) {
            out.writeRawData(block.data(), BlockSize);
        }
    }
}

UInt32 ReadQtLevel(QDataStream& in, Int64 levels, bool numbers)
{
    UInt32 sum = 0;
    if (levels != 0) {
        QByteArray bytes;
        in >> bytes;
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        QDataStream inner(&buffer);
        sum = ReadQtLevel(inner, levels - 1, numbers);
    } else if (numbers) {
        for (UInt32 i = 0; i < Numbers; ++i) {
            quint32 value;
            in >> value;
            sum += value;
        }
    } else {
        char bytes[BlockSize];
        for (UInt32 i = 0; i < Bytes / BlockSize; ++i) {
            in.readRawData(bytes, BlockSize);
            benchmark::DoNotOptimize(bytes);
        }
    }
    return sum;
}

template <bool Numbers>
void WriteQt(benchmark::State& state)
{
    for (auto _ : state) {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        WriteQtLevel(out, state.range(0), Numbers);
        benchmark::DoNotOptimize(bytes.constData());
    }
    state.SetBytesProcessed(state.iterations() * Bytes);
}
BENCHMARK(WriteQt<true>)->Name("WriteNumbers/QDataStream")->ArgName("levels")->Arg(1)->Arg(2)->Arg(4)->Arg(8);
BENCHMARK(WriteQt<false>)->Name("WriteBlocks/QDataStream")->ArgName("levels")->Arg(1)->Arg(2)->Arg(4)->Arg(8);

template <bool Numbers>
void ReadQt(benchmark::State& state)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    WriteQtLevel(out, state.range(0), Numbers);
    for (auto _ : state) {
        QDataStream in(bytes);
        benchmark::DoNotOptimize(ReadQtLevel(in, state.range(0), Numbers));
    }
    state.SetBytesProcessed(state.iterations() * Bytes);
}
BENCHMARK(ReadQt<true>)->Name("ReadNumbers/QDataStream")->ArgName("levels")->Arg(1)->Arg(2)->Arg(4)->Arg(8);
BENCHMARK(ReadQt<false>)->Name("ReadBlocks/QDataStream")->ArgName("levels")->Arg(1)->Arg(2)->Arg(4)->Arg(8);

#endif

#ifdef QV_PEER_PROTOBUF

using google::protobuf::io::CodedInputStream;
using google::protobuf::io::CodedOutputStream;
using google::protobuf::io::StringOutputStream;

/// The length of a nested message comes first, so that inner ones are written aside.
std::string WriteCodedLevel(Int64 levels, bool numbers)
{
    std::string bytes;
    StringOutputStream stream(&bytes);
    CodedOutputStream out(&stream);
    if (levels != 0) {
        const std::string inner = WriteCodedLevel(levels - 1, numbers);
        out.WriteVarint32(static_cast<UInt32>(inner.size()));
        out.WriteString(inner);
    } else if (numbers) {
        for (UInt32 i = 0; i < Numbers; ++i) {
            out.WriteLittleEndian32(i);
        }
    } else {
        for (UInt32 i = 0; i < Bytes / BlockSize; ++i) {
            out.WriteRaw(block.data(), BlockSize);
        }
    }
    out.Trim();
    return bytes;
}

UInt32 ReadCodedLevel(CodedInputStream& in, Int64 levels, bool numbers)
{
    UInt32 sum = 0;
    if (levels != 0) {
        UInt32 size = 0;
        in.ReadVarint32(&size);
        const auto limit = in.PushLimit(static_cast<int>(size));
        sum = ReadCodedLevel(in, levels - 1, numbers);
        in.PopLimit(limit);
    } else if (numbers) {
        for (UInt32 i = 0; i < Numbers; ++i) {
            UInt32 value = 0;
            in.ReadLittleEndian32(&value);
            sum += value;
        }
    } else {
        char bytes[BlockSize];
        for (UInt32 i = 0; i < Bytes / BlockSize; ++i) {
            in.ReadRaw(bytes, BlockSize);
            benchmark::DoNotOptimize(bytes);
        }
    }
    return sum;
}

template <bool Numbers>
void WriteCoded(benchmark::State& state)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(WriteCodedLevel(state.range(0), Numbers).data());
    }
    state.SetBytesProcessed(state.iterations() * Bytes);
}
BENCHMARK(WriteCoded<true>)
    ->Name("WriteNumbers/CodedStream")
    ->ArgName("levels")
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(8);
BENCHMARK(WriteCoded<false>)
    ->Name("WriteBlocks/CodedStream")
    ->ArgName("levels")
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(8);

template <bool Numbers>
void ReadCoded(benchmark::State& state)
{
    const std::string bytes = WriteCodedLevel(state.range(0), Numbers);
    for (auto _ : state) {
        CodedInputStream in(reinterpret_cast<const std::uint8_t*>(bytes.data()),
                            static_cast<int>(bytes.size()));
        benchmark::DoNotOptimize(ReadCodedLevel(in, state.range(0), Numbers));
    }
    state.SetBytesProcessed(state.iterations() * Bytes);
}
BENCHMARK(ReadCoded<true>)
    ->Name("ReadNumbers/CodedStream")
    ->ArgName("levels")
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(8);
BENCHMARK(ReadCoded<false>)
    ->Name("ReadBlocks/CodedStream")
    ->ArgName("levels")
    ->Arg(1)
    ->Arg(2)
    ->Arg(4)
    ->Arg(8);

#endif

} // namespace
