#include <QVRoot/String/Search/SearchImpl.hpp>
#include <QVRoot/String/Transcode/CpuFeaturesImpl.hpp>

#include <atomic>

namespace QV::Impl {

namespace {

/// The choice, null until the first use. Threads that race for it store the same.
constinit std::atomic<const SearchKernels*> chosen = nullptr;

const SearchKernels& Choose() noexcept
{
    const SearchKernels* list[maxSearchKernels];
    ListSearchKernels(list);
    chosen.store(list[0], std::memory_order_relaxed);
    return *list[0];
}

} // namespace

UInt32 ListSearchKernels(const SearchKernels* (&list)[maxSearchKernels]) noexcept
{
    UInt32 count = 0;
    if (CpuFeatures::HasAvx512Vbmi2()) {
        list[count++] = &searchAvx512;
    }
    if (CpuFeatures::HasAvx2()) {
        list[count++] = &searchAvx2;
    }
    if (CpuFeatures::HasSse42()) {
        list[count++] = &searchSse42;
    }
    list[count++] = &searchPortable;
    return count;
}

const SearchKernels& GetSearchKernels() noexcept
{
    const SearchKernels* const kernels = chosen.load(std::memory_order_relaxed);
    return kernels != nullptr ? *kernels : Choose();
}

} // namespace QV::Impl
