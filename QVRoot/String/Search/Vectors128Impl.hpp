/// What the search kernels need of registers of 16 bytes. Private to the file that includes it.
#pragma once

#include <QVRoot/String/Search/SearchKernelsImpl.hpp>

namespace QV::Impl {

namespace {

struct Vector128 {
    using Half = NoVector;
    using Register = __m128i;
    using Match = __m128i;
    static constexpr UInt32 lanes = 8;
    static constexpr UInt32 bitsPerUnit = 2; ///< of which `GetBits` sets the lower
    static constexpr UInt32 bitsOfMatch = 2;

    static Register Load(const UInt16* units)
    {
        return _mm_loadu_si128(reinterpret_cast<const Register*>(units));
    }
    static void Store(UInt16* units, Register value)
    {
        _mm_storeu_si128(reinterpret_cast<Register*>(units), value);
    }
    static Register Spread(UInt16 unit) { return _mm_set1_epi16(static_cast<short>(unit)); }

    static Match Equal(Register a, Register b) { return _mm_cmpeq_epi16(a, b); }
    static Match Or(Match a, Match b) { return _mm_or_si128(a, b); }
    static Match And(Match a, Match b) { return _mm_and_si128(a, b); }
    static Match Not(Match match) { return _mm_xor_si128(match, _mm_set1_epi16(-1)); }
    static bool IsAny(Match match) { return _mm_movemask_epi8(match) != 0; }
    static UInt32 GetAllBits(Match match) { return static_cast<UInt32>(_mm_movemask_epi8(match)); }
    static UInt32 GetBits(Match match) { return GetAllBits(match) & 0x55555555; }
    static Register Select(Match match, Register taken, Register other)
    {
        return _mm_blendv_epi8(other, taken, match);
    }

    static bool IsAscii(Register units) { return _mm_testz_si128(units, Spread(0xFF80)) != 0; }
    static Register MapLetters(Register ascii, UInt16 first)
    {
        const Match letters = _mm_and_si128(_mm_cmpgt_epi16(ascii, Spread(static_cast<UInt16>(first - 1))),
                                            _mm_cmpgt_epi16(Spread(static_cast<UInt16>(first + 26)), ascii));
        return _mm_xor_si128(ascii, _mm_and_si128(letters, Spread(0x20)));
    }
};

} // namespace

} // namespace QV::Impl
