// Capturing a stack of a given number of frames below main: the library's record against what the runtime
// offers.
#include <QVRoot/Exceptions/StackInfo.hpp>

#include <benchmark/benchmark.h>

#if defined(__linux__)
#include <execinfo.h>
#endif
#include <unwind.h>

namespace {

struct Addresses {
    void* entries[128];
    int count = 0;
};

_Unwind_Reason_Code Record(_Unwind_Context* context, void* data)
{
    auto& addresses = *static_cast<Addresses*>(data);
    if (addresses.count == 128) {
        return _URC_END_OF_STACK;
    }
    addresses.entries[addresses.count++] = reinterpret_cast<void*>(_Unwind_GetIP(context));
    return _URC_NO_REASON;
}

int CaptureOwn()
{
    QV::StackInfoCustomDepth<128> stack;
    stack.Capture();
    benchmark::DoNotOptimize(stack);
    return static_cast<int>(stack.GetDepth());
}

int CaptureByUnwinder()
{
    Addresses addresses;
    _Unwind_Backtrace(Record, &addresses);
    benchmark::DoNotOptimize(addresses);
    return addresses.count;
}

#if defined(__linux__)
int CaptureByLibrary()
{
    void* addresses[128];
    const int count = backtrace(addresses, 128);
    benchmark::DoNotOptimize(addresses);
    return count;
}
#endif

using Capture = int (*)();

// Frames of this recursion come on top of those of main and of the benchmark's own.
template <typename F>
int Recurse(int frames, F run)
{
    if (frames <= 0) {
        return run();
    }
    const int result = Recurse(frames - 1, run);
    benchmark::ClobberMemory();
    return result;
}

void MeasureCapture(benchmark::State& state, Capture capture)
{
    const int wanted = static_cast<int>(state.range(0));
    const int present = CaptureOwn();
    int depth = 0;
    Recurse(wanted - present, [&] {
        for (auto _ : state) {
            depth = capture();
        }
        return depth;
    });
    state.counters["frames"] = depth;
}

BENCHMARK_CAPTURE(MeasureCapture, StackInfo, CaptureOwn)->Arg(8)->Arg(32)->Arg(128);
BENCHMARK_CAPTURE(MeasureCapture, UnwindBacktrace, CaptureByUnwinder)->Arg(8)->Arg(32)->Arg(128);
#if defined(__linux__)
BENCHMARK_CAPTURE(MeasureCapture, Backtrace, CaptureByLibrary)->Arg(8)->Arg(32)->Arg(128);
#endif

} // namespace

BENCHMARK_MAIN();
