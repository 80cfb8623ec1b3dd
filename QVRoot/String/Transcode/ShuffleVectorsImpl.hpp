/// Registers of 16 bytes, as the shuffling kernels use them. Private to the file that includes it, like all
/// of these kernels.
#pragma once

#include <QVRoot/String/Transcode/TranscodeImpl.hpp>

#include <immintrin.h>

namespace QV::Impl {

namespace {

using Vector = __m128i;

constexpr USize vectorBytes = 16;
constexpr USize vectorUnits = 8;

inline Vector Load(const void* address)
{
    return _mm_loadu_si128(static_cast<const Vector*>(address));
}

inline void Store(void* address, Vector value)
{
    _mm_storeu_si128(static_cast<Vector*>(address), value);
}

inline Vector Bytes(int value)
{
    return _mm_set1_epi8(static_cast<char>(value));
}

inline Vector Words(int value)
{
    return _mm_set1_epi16(static_cast<short>(value));
}

inline UInt32 GetMask(Vector bytes)
{
    return static_cast<UInt32>(_mm_movemask_epi8(bytes));
}

inline UInt32 GetWordMask(Vector words)
{
    return GetMask(_mm_packs_epi16(words, _mm_setzero_si128()));
}

inline USize CountBits(UInt32 bits)
{
    return static_cast<USize>(_mm_popcnt_u32(bits));
}

/// Unsigned comparison of bytes.
inline Vector IsAtLeast(Vector bytes, int least)
{
    return _mm_cmpeq_epi8(_mm_max_epu8(bytes, Bytes(least)), bytes);
}

/// Bits of `taken` where the mask is set, of `other` elsewhere.
inline Vector Select(Vector taken, Vector other, Vector mask)
{
    return _mm_or_si128(_mm_and_si128(mask, taken), _mm_andnot_si128(mask, other));
}

inline Vector MaskAndMark(Vector bits, Vector mask, Vector marks)
{
    return _mm_or_si128(_mm_and_si128(bits, mask), marks);
}

inline Vector LoadShuffle(const UInt8 (&shuffle)[16])
{
    return _mm_load_si128(reinterpret_cast<const Vector*>(shuffle));
}

/// Copies where calling the library's function would cost more than the copy.
template <class Unit>
inline void CopyShort(const Unit* source, USize count, Unit* target)
{
    for (USize i = 0; i < count; ++i) {
        target[i] = source[i];
    }
}

} // namespace

} // namespace QV::Impl
