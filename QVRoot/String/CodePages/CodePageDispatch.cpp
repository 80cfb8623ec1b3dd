#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>
#include <QVRoot/String/Transcode/CpuFeaturesImpl.hpp>

#include <atomic>

namespace QV::Impl {

namespace {

/// The choice, null until the first use. Threads that race for it store the same.
constinit std::atomic<const CodePageKernels*> chosen = nullptr;

const CodePageKernels& Choose() noexcept
{
    const CodePageKernels* list[maxCodePageKernels];
    ListCodePageKernels(list);
    chosen.store(list[0], std::memory_order_relaxed);
    return *list[0];
}

} // namespace

UInt32 ListCodePageKernels(const CodePageKernels* (&list)[maxCodePageKernels]) noexcept
{
    UInt32 count = 0;
    if (CpuFeatures::HasAvx512Vbmi2()) {
        list[count++] = &codePageAvx512;
    }
    if (CpuFeatures::HasAvx2()) {
        list[count++] = &codePageAvx2;
    }
    list[count++] = &codePagePortable;
    return count;
}

const CodePageKernels& GetCodePageKernels() noexcept
{
    const CodePageKernels* const kernels = chosen.load(std::memory_order_relaxed);
    return kernels != nullptr ? *kernels : Choose();
}

} // namespace QV::Impl
