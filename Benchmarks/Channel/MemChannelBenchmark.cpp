// Memory channels against streams that a program would take instead. Times are for 1000 values each.
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/String/UniString.hpp>

#include <benchmark/benchmark.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#ifdef QV_PEER_QT
#include <QByteArray>
#include <QDataStream>
#include <QIODevice>
#include <QString>
#endif
#ifdef QV_PEER_CEREAL
#include <cereal/archives/binary.hpp>
#endif

namespace {

using namespace QV;

constexpr UInt32 Count = 1000;
constexpr UInt32 BlockSize = 4096;
const std::u16string sampleText(32, u'\u0414');

void WriteScalarsQV(benchmark::State& state)
{
    for (auto _ : state) {
        OMemChannel out;
        for (UInt32 i = 0; i < Count; ++i) {
            out.Write(i);
        }
        benchmark::DoNotOptimize(out.LockData());
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(WriteScalarsQV)->Name("WriteScalars/QVMemChannel");

void ReadScalarsQV(benchmark::State& state)
{
    OMemChannel out;
    for (UInt32 i = 0; i < Count; ++i) {
        out.Write(i);
    }
    for (auto _ : state) {
        IMemChannel in(out.LockData(), static_cast<int>(out.DataSize()));
        UInt32 sum = 0;
        for (UInt32 i = 0; i < Count; ++i) {
            UInt32 value = 0;
            in.Read(value);
            sum += value;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(ReadScalarsQV)->Name("ReadScalars/QVMemChannel");

void WriteStringsQV(benchmark::State& state)
{
    const UniString text{std::u16string_view(sampleText)};
    for (auto _ : state) {
        OMemChannel out;
        for (UInt32 i = 0; i < Count; ++i) {
            out.Write(text);
        }
        benchmark::DoNotOptimize(out.LockData());
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(WriteStringsQV)->Name("WriteStrings/QVMemChannel");

void ReadStringsQV(benchmark::State& state)
{
    OMemChannel out;
    for (UInt32 i = 0; i < Count; ++i) {
        out.Write(UniString{std::u16string_view(sampleText)});
    }
    for (auto _ : state) {
        IMemChannel in(out.LockData(), static_cast<int>(out.DataSize()));
        for (UInt32 i = 0; i < Count; ++i) {
            UniString text;
            in.Read(text);
            benchmark::DoNotOptimize(&text);
        }
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(ReadStringsQV)->Name("ReadStrings/QVMemChannel");

void ReadBlocksQV(benchmark::State& state)
{
    const std::string source(BlockSize * 100, 'b');
    std::vector<char> block(BlockSize);
    for (auto _ : state) {
        IMemChannel in(source.data(), static_cast<int>(source.size()));
        for (int i = 0; i < 100; ++i) {
            in.ReadBin(block.data(), BlockSize, nullptr);
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<Int64>(source.size()));
}
BENCHMARK(ReadBlocksQV)->Name("ReadBlocks/QVMemChannel");

void ReadBlocksMemcpy(benchmark::State& state)
{
    const std::string source(BlockSize * 100, 'b');
    std::vector<char> block(BlockSize);
    for (auto _ : state) {
        for (int i = 0; i < 100; ++i) {
            std::memcpy(block.data(), source.data() + i * BlockSize, BlockSize);
            benchmark::ClobberMemory();
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<Int64>(source.size()));
}
BENCHMARK(ReadBlocksMemcpy)->Name("ReadBlocks/memcpy");

#ifdef QV_PEER_QT
void WriteScalarsQt(benchmark::State& state)
{
    for (auto _ : state) {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        for (quint32 i = 0; i < Count; ++i) {
            out << i;
        }
        benchmark::DoNotOptimize(bytes.constData());
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(WriteScalarsQt)->Name("WriteScalars/QDataStream");

void ReadScalarsQt(benchmark::State& state)
{
    QByteArray bytes(Count * 4, 'x');
    for (auto _ : state) {
        QDataStream in(bytes);
        quint32 sum = 0;
        for (quint32 i = 0; i < Count; ++i) {
            quint32 value = 0;
            in >> value;
            sum += value;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(ReadScalarsQt)->Name("ReadScalars/QDataStream");

void WriteStringsQt(benchmark::State& state)
{
    const QString text = QString::fromStdU16String(sampleText);
    for (auto _ : state) {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        for (quint32 i = 0; i < Count; ++i) {
            out << text;
        }
        benchmark::DoNotOptimize(bytes.constData());
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(WriteStringsQt)->Name("WriteStrings/QDataStream");

void ReadStringsQt(benchmark::State& state)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    for (quint32 i = 0; i < Count; ++i) {
        out << QString::fromStdU16String(sampleText);
    }
    for (auto _ : state) {
        QDataStream in(bytes);
        for (quint32 i = 0; i < Count; ++i) {
            QString text;
            in >> text;
            benchmark::DoNotOptimize(&text);
        }
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(ReadStringsQt)->Name("ReadStrings/QDataStream");
#endif

#ifdef QV_PEER_CEREAL
void WriteScalarsCereal(benchmark::State& state)
{
    for (auto _ : state) {
        std::ostringstream bytes;
        cereal::BinaryOutputArchive out(bytes);
        for (UInt32 i = 0; i < Count; ++i) {
            out(i);
        }
        benchmark::DoNotOptimize(&bytes);
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(WriteScalarsCereal)->Name("WriteScalars/cereal");

void ReadScalarsCereal(benchmark::State& state)
{
    const std::string bytes(Count * 4, 'x');
    for (auto _ : state) {
        std::istringstream stream(bytes);
        cereal::BinaryInputArchive in(stream);
        UInt32 sum = 0;
        for (UInt32 i = 0; i < Count; ++i) {
            UInt32 value = 0;
            in(value);
            sum += value;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * Count);
}
BENCHMARK(ReadScalarsCereal)->Name("ReadScalars/cereal");
#endif

} // namespace
