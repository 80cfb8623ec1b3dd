// Throwing and catching with the stack captured, against the standard library's exception without one. The
// argument is the number of frames between the two.
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

#include <benchmark/benchmark.h>

#include <stdexcept>

namespace {

using namespace QV;

using Thrower = void (*)();

[[gnu::noinline]] int Descend(int frames, Thrower thrower)
{
    if (frames == 0) {
        thrower();
        return 0;
    }
    const int result = Descend(frames - 1, thrower);
    benchmark::ClobberMemory(); // keeps the frame
    return result;
}

template <class Exception>
void ThrowAndCatch(benchmark::State& state, Thrower thrower)
{
    for (auto _ : state) {
        try {
            Descend(static_cast<int>(state.range(0)), thrower);
        } catch (const Exception& e) {
            benchmark::DoNotOptimize(&e);
        }
    }
}

void ThrowLibraryException(benchmark::State& state)
{
    ThrowAndCatch<QVException>(state, [] { QV_THROW(IllegalStateException, "the message"); });
}
BENCHMARK(ThrowLibraryException)->Name("ThrowAndCatch/QVException")->Arg(1)->Arg(8);

void ThrowRuntimeError(benchmark::State& state)
{
    ThrowAndCatch<std::runtime_error>(state, [] { throw std::runtime_error("the message"); });
}
BENCHMARK(ThrowRuntimeError)->Name("ThrowAndCatch/std::runtime_error")->Arg(1)->Arg(8);

} // namespace
