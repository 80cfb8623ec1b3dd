// Handles against the vector of bytes that a program would take instead: growth by appending, resizing, and
// replacing in the middle. The argument is the size of one piece.
#include <QVRoot/MemoryManagement/BlockMemory.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace QV;

constexpr Int32 Total = 64 * 1024;

void AppendToHandle(benchmark::State& state)
{
    const std::string piece(static_cast<size_t>(state.range(0)), 'x');
    const Int32 pieceSize = static_cast<Int32>(piece.size());
    for (auto _ : state) {
        QVHandle handle = BMAllocateHandle(0, 0, 0);
        for (Int32 size = 0; size < Total; size += pieceSize) {
            BMPtrAndHandle(piece.data(), handle, pieceSize);
        }
        benchmark::DoNotOptimize(*handle);
        BMKillHandle(&handle);
    }
    state.SetBytesProcessed(state.iterations() * Total);
}
BENCHMARK(AppendToHandle)->Name("Append/QVHandle")->Arg(16)->Arg(256);

void AppendToVector(benchmark::State& state)
{
    const std::string piece(static_cast<size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        std::vector<char> bytes;
        while (bytes.size() < Total) {
            bytes.insert(bytes.end(), piece.begin(), piece.end());
        }
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(state.iterations() * Total);
}
BENCHMARK(AppendToVector)->Name("Append/vector")->Arg(16)->Arg(256);

void ResizeHandle(benchmark::State& state)
{
    const Int32 step = static_cast<Int32>(state.range(0));
    for (auto _ : state) {
        QVHandle handle = BMAllocateHandle(0, 0, 0);
        for (Int32 size = step; size <= Total; size += step) {
            BMReallocHandle(handle, size, BMZeroNew, 0);
        }
        benchmark::DoNotOptimize(*handle);
        BMKillHandle(&handle);
    }
    state.SetBytesProcessed(state.iterations() * Total);
}
BENCHMARK(ResizeHandle)->Name("Resize/QVHandle")->Arg(16)->Arg(256);

void ResizeVector(benchmark::State& state)
{
    const size_t step = static_cast<size_t>(state.range(0));
    for (auto _ : state) {
        std::vector<char> bytes;
        for (size_t size = step; size <= Total; size += step) {
            bytes.resize(size);
        }
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(state.iterations() * Total);
}
BENCHMARK(ResizeVector)->Name("Resize/vector")->Arg(16)->Arg(256);

/// A text in which every 64th byte is a mark.
std::string MakeMarkedText()
{
    std::string text(Total, 'x');
    for (size_t i = 63; i < text.size(); i += 64) {
        text[i] = '#';
    }
    return text;
}

void ReplaceInHandle(benchmark::State& state)
{
    const std::string text = MakeMarkedText();
    for (auto _ : state) {
        QVHandle handle;
        BMPtrToHandle(text.data(), &handle, Total);
        for (Int32 offset = 0; offset >= 0;) {
            offset = BMMunger(handle, offset, "x#x", 3, "---", 3);
        }
        benchmark::DoNotOptimize(*handle);
        BMKillHandle(&handle);
    }
    state.SetBytesProcessed(state.iterations() * Total);
}
BENCHMARK(ReplaceInHandle)->Name("Replace/QVHandle");

void ReplaceInVector(benchmark::State& state)
{
    const std::string text = MakeMarkedText();
    const std::string pattern = "x#x";
    for (auto _ : state) {
        std::vector<char> bytes(text.begin(), text.end());
        for (auto from = bytes.begin();;) {
            from = std::search(from, bytes.end(), pattern.begin(), pattern.end());
            if (from == bytes.end()) {
                break;
            }
            from = std::fill_n(from, 3, '-');
        }
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(state.iterations() * Total);
}
BENCHMARK(ReplaceInVector)->Name("Replace/vector");

void MakeAndKillHandle(benchmark::State& state)
{
    for (auto _ : state) {
        QVHandle handle = BMAllocateHandle(static_cast<Int32>(state.range(0)), BMZeroNew, 0);
        benchmark::DoNotOptimize(*handle);
        BMKillHandle(&handle);
    }
}
BENCHMARK(MakeAndKillHandle)->Name("MakeAndKill/QVHandle")->Arg(16)->Arg(256);

void MakeAndKillVector(benchmark::State& state)
{
    for (auto _ : state) {
        const auto bytes = std::make_unique<std::vector<char>>(static_cast<size_t>(state.range(0)));
        benchmark::DoNotOptimize(bytes->data());
    }
}
BENCHMARK(MakeAndKillVector)->Name("MakeAndKill/vector")->Arg(16)->Arg(256);

} // namespace
