#include <QVRoot/String/Transcode/CpuFeaturesImpl.hpp>
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>

#include <atomic>

namespace QV::Impl {

namespace {

/// The choice, null until the first use. Threads that race for it store the same.
constinit std::atomic<const TranscodeKernels*> chosen = nullptr;

const TranscodeKernels& Choose() noexcept
{
    const TranscodeKernels* list[maxTranscodeKernels];
    ListTranscodeKernels(list);
    chosen.store(list[0], std::memory_order_relaxed);
    return *list[0];
}

} // namespace

UInt32 ListTranscodeKernels(const TranscodeKernels* (&list)[maxTranscodeKernels]) noexcept
{
    UInt32 count = 0;
    if (CpuFeatures::HasAvx512Vbmi2()) {
        list[count++] = &transcodeAvx512;
    }
    if (CpuFeatures::HasAvx2()) {
        list[count++] = &transcodeAvx2;
    }
    if (CpuFeatures::HasSse42()) {
        list[count++] = &transcodeSse42;
    }
    list[count++] = &transcodePortable;
    return count;
}

const TranscodeKernels& GetTranscodeKernels() noexcept
{
    const TranscodeKernels* const kernels = chosen.load(std::memory_order_relaxed);
    return kernels != nullptr ? *kernels : Choose();
}

bool IsAscii(const char* text, USize length) noexcept
{
    return GetTranscodeKernels().isAscii8(text, length);
}

bool IsAscii(const unsigned short* text, USize length) noexcept
{
    return GetTranscodeKernels().isAscii16(text, length);
}

void WidenAscii(const char* source, USize length, unsigned short* target) noexcept
{
    GetTranscodeKernels().widen(source, length, target);
}

void NarrowAscii(const unsigned short* source, USize length, char* target) noexcept
{
    GetTranscodeKernels().narrow(source, length, target);
}

} // namespace QV::Impl
