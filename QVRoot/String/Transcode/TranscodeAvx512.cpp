// The set of kernels for AVX-512 with byte permutation and compression (VBMI, VBMI2), and those for ASCII.
#include <QVRoot/String/Transcode/VectorsAvx512Impl.hpp>

namespace QV::Impl {

TranscodeProgress DecodeAvx512(const UInt8* source, USize length, UInt16* target, USize room);
TranscodeProgress CountAvx512(const UInt8* source, USize length);
TranscodeProgress EncodeAvx512(const UInt16* source, USize length, UInt8* target, USize room);
TranscodeProgress MeasureAvx512(const UInt16* source, USize length);

namespace {

bool IsAscii8(const char* text, USize length)
{
    for (; length >= vectorBytes; text += vectorBytes, length -= vectorBytes) {
        if (_mm512_movepi8_mask(Load(text)) != 0) {
            return false;
        }
    }
    return _mm512_movepi8_mask(LoadLanes(FirstLanes(length), text)) == 0;
}

bool IsAscii16(const unsigned short* text, USize length)
{
    for (; length >= vectorUnits; text += vectorUnits, length -= vectorUnits) {
        if (FindNonAscii(Load(text)) != 0) {
            return false;
        }
    }
    return FindNonAscii(_mm512_maskz_loadu_epi16(static_cast<UInt32>(FirstLanes(length)), text)) == 0;
}

void Widen(const char* source, USize length, unsigned short* target)
{
    for (; length >= vectorUnits; source += vectorUnits, target += vectorUnits, length -= vectorUnits) {
        const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source));
        _mm512_storeu_si512(target, Widen32(bytes));
    }
    const UInt32 lanes = static_cast<UInt32>(FirstLanes(length));
    _mm512_mask_storeu_epi16(target, lanes, Widen32(_mm256_maskz_loadu_epi8(lanes, source)));
}

void Narrow(const unsigned short* source, USize length, char* target)
{
    for (; length >= vectorUnits; source += vectorUnits, target += vectorUnits, length -= vectorUnits) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), _mm512_cvtepi16_epi8(Load(source)));
    }
    const UInt32 lanes = static_cast<UInt32>(FirstLanes(length));
    _mm256_mask_storeu_epi8(target, lanes, _mm512_cvtepi16_epi8(_mm512_maskz_loadu_epi16(lanes, source)));
}

/// Reads whole aligned vectors, which end where a page ends or before, hence not checked by the sanitizers.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] USize Length16(const unsigned short* text)
{
    const USize address = reinterpret_cast<USize>(text);
    const USize misfit = address % vectorBytes;
    const Vector* position = reinterpret_cast<const Vector*>(address - misfit);
    UInt64 zeros = _mm512_testn_epi16_mask(*position, *position);
    zeros = zeros >> misfit / 2 << misfit / 2;
    while (zeros == 0) {
        ++position;
        zeros = _mm512_testn_epi16_mask(*position, *position);
    }
    const unsigned short* const block = reinterpret_cast<const unsigned short*>(position);
    return static_cast<USize>(block - text) + _tzcnt_u64(zeros);
}

} // namespace

constinit const TranscodeKernels transcodeAvx512 = {
    "Avx512", DecodeAvx512, CountAvx512, EncodeAvx512, MeasureAvx512,
    IsAscii8, IsAscii16,    Widen,       Narrow,       Length16,
};

} // namespace QV::Impl
