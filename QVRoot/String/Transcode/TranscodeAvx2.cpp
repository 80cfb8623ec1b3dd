#include <QVRoot/String/Transcode/ShuffleKernelsImpl.hpp>

namespace QV::Impl {

namespace {

/// ASCII text by registers of 32 bytes.
struct Ascii32 {
    static constexpr USize length = 32;

    static __m256i LoadWide(const void* address)
    {
        return _mm256_loadu_si256(static_cast<const __m256i*>(address));
    }

    static bool IsAscii(const UInt8* source) { return _mm256_movemask_epi8(LoadWide(source)) == 0; }

    static bool IsAscii(const UInt16* source)
    {
        const __m256i units = _mm256_or_si256(LoadWide(source), LoadWide(source + 16));
        return _mm256_testz_si256(units, _mm256_set1_epi16(static_cast<short>(0xFF80))) != 0;
    }

    static void Widen(const UInt8* source, UInt16* target)
    {
        __m256i* const halves = reinterpret_cast<__m256i*>(target);
        _mm256_storeu_si256(halves, _mm256_cvtepu8_epi16(Load(source)));
        _mm256_storeu_si256(halves + 1, _mm256_cvtepu8_epi16(Load(source + 16)));
    }

    static void Narrow(const UInt16* source, UInt8* target)
    {
        const __m256i lanes = _mm256_packus_epi16(LoadWide(source), LoadWide(source + 16));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), _mm256_permute4x64_epi64(lanes, 0xD8));
    }
};

} // namespace

constinit const TranscodeKernels transcodeAvx2 = MakeKernels<Ascii32>("Avx2");

} // namespace QV::Impl
