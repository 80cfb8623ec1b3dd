/// Registers of 64 bytes, as the AVX-512 kernels use them. Everything here is private to the file that
/// includes it, so that no code for this instruction set can stand in for code of others.
#pragma once

#include <QVRoot/String/Transcode/TranscodeImpl.hpp>

// Some of the compiler's own definitions start from a register whose contents do not matter.
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

namespace QV::Impl {

namespace {

using Vector = __m512i;

constexpr USize vectorBytes = 64;
constexpr USize vectorUnits = 32;
constexpr UInt64 everyLane = ~UInt64(0);

using enum TranscodeWord;

inline Vector Bytes(UInt8 value)
{
    return _mm512_set1_epi32(static_cast<Int32>(transcodeOperands.bytes[value]));
}

inline Vector Words(TranscodeWord word)
{
    return _mm512_set1_epi32(static_cast<Int32>(transcodeOperands.words[static_cast<int>(word)]));
}

inline Vector Load(const void* address)
{
    return _mm512_loadu_si512(address);
}

inline Vector LoadLanes(UInt64 lanes, const void* address)
{
    return _mm512_maskz_loadu_epi8(lanes, address);
}

/// The same for the first 32 lanes. Short texts are loaded and stored no wider than they must be: a load
/// waits for every store that was just made to the memory next to the text, even where masks exclude that.
inline Vector LoadHalfLanes(UInt64 lanes, const void* address)
{
    return _mm512_zextsi256_si512(_mm256_maskz_loadu_epi8(static_cast<UInt32>(lanes), address));
}

inline UInt64 FirstLanes(USize count)
{
    return _bzhi_u64(everyLane, static_cast<unsigned>(count));
}

inline USize CountLanes(UInt64 lanes)
{
    return static_cast<USize>(_mm_popcnt_u64(lanes));
}

/// Bits of `taken` where the mask is set, of `other` elsewhere.
inline Vector Select(Vector taken, Vector other, Vector mask)
{
    return _mm512_ternarylogic_epi64(taken, other, mask, 0xE4);
}

/// `base | (bits & mask)`.
inline Vector OrMasked(Vector base, Vector bits, Vector mask)
{
    return _mm512_ternarylogic_epi64(base, bits, mask, 0xF8);
}

/// `(bits & mask) | marks`.
inline Vector MaskAndMark(Vector bits, Vector mask, Vector marks)
{
    return _mm512_ternarylogic_epi64(bits, mask, marks, 0xEA);
}

/// 32 bytes as units.
inline Vector Widen32(__m256i bytes)
{
    return _mm512_cvtepu8_epi16(bytes);
}

/// Writes the first `count` units of two vectors, and nothing behind them.
inline void StoreUnits(UInt16* target, Vector first, Vector second, USize count)
{
    const UInt64 lanes = FirstLanes(count);
    if (count <= vectorUnits / 2) {
        _mm256_mask_storeu_epi16(target, static_cast<UInt16>(lanes), _mm512_castsi512_si256(first));
        return;
    }
    _mm512_mask_storeu_epi16(target, static_cast<UInt32>(lanes), first);
    if (count > vectorUnits) {
        _mm512_mask_storeu_epi16(target + vectorUnits, static_cast<UInt32>(lanes >> vectorUnits), second);
    }
}

/// The distance to the next address that a full store does not cross a cache line at.
inline USize GetMisfit(const void* address)
{
    return (0 - reinterpret_cast<USize>(address)) % vectorBytes;
}

inline UInt64 FindNonAscii(Vector units)
{
    return _mm512_test_epi16_mask(units, Words(xFF80));
}

} // namespace

} // namespace QV::Impl
