#include <QVRoot/String/Transcode/CpuFeaturesImpl.hpp>

// The compiler's run-time support asks the processor and checks the enabled register state. It may not have
// done so yet when constructors of other modules call us, hence each `__builtin_cpu_init`.
namespace QV::Impl::CpuFeatures {

bool HasSse42() noexcept
{
    __builtin_cpu_init();
    return __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("popcnt");
}

bool HasAvx2() noexcept
{
    __builtin_cpu_init();
    return HasSse42() && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("lzcnt");
}

bool HasAvx512Vbmi2() noexcept
{
    __builtin_cpu_init();
    return HasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2");
}

} // namespace QV::Impl::CpuFeatures
