#include <QVRoot/Channel/Conversion/ConversionKernelsImpl.hpp>
#include <QVRoot/String/Transcode/CpuFeaturesImpl.hpp>

#include <atomic>

namespace QV::Impl {

namespace {

/// The choice, null until the first use. Threads that race for it store the same.
constinit std::atomic<const ConversionKernels*> chosen = nullptr;

const ConversionKernels& Choose() noexcept
{
    const ConversionKernels* list[maxConversionKernels];
    ListConversionKernels(list);
    chosen.store(list[0], std::memory_order_relaxed);
    return *list[0];
}

} // namespace

UInt32 ListConversionKernels(const ConversionKernels* (&list)[maxConversionKernels]) noexcept
{
    UInt32 count = 0;
    if (CpuFeatures::HasAvx512Vbmi2()) {
        list[count++] = &conversionAvx512;
    }
    if (CpuFeatures::HasAvx2()) {
        list[count++] = &conversionAvx2;
    }
    if (CpuFeatures::HasSse42()) {
        list[count++] = &conversionSse42;
    }
    list[count++] = &conversionPortable;
    return count;
}

const ConversionKernels& GetConversionKernels() noexcept
{
    const ConversionKernels* const kernels = chosen.load(std::memory_order_relaxed);
    return kernels != nullptr ? *kernels : Choose();
}

} // namespace QV::Impl
