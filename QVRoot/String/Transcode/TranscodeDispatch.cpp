#include <QVRoot/String/Transcode/CpuFeaturesImpl.hpp>
#include <QVRoot/String/Transcode/TranscodeChoiceImpl.hpp>

namespace QV::Impl {

constinit std::atomic<const TranscodeKernels*> chosenTranscodeKernels = nullptr;

const TranscodeKernels& ChooseTranscodeKernels() noexcept
{
    const TranscodeKernels* list[maxTranscodeKernels];
    ListTranscodeKernels(list);
    chosenTranscodeKernels.store(list[0], std::memory_order_relaxed);
    return *list[0];
}

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
