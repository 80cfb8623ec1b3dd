// Some of the compiler's own definitions start from a register whose contents do not matter.
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <QVRoot/String/Search/Vectors128Impl.hpp>

namespace QV::Impl {

namespace {

struct Vector256 {
    using Half = Vector128;
    using Register = __m256i;
    using Match = UInt32;
    static constexpr UInt32 lanes = 16;
    static constexpr UInt32 bitsPerUnit = 1;

    static Register Load(const UInt16* units)
    {
        return _mm256_loadu_si256(reinterpret_cast<const Register*>(units));
    }
    static Register Spread(UInt16 unit) { return _mm256_set1_epi16(static_cast<short>(unit)); }

    static Match Equal(Register a, Register b) { return _mm256_cmpeq_epi16_mask(a, b); }
    static Match Or(Match a, Match b) { return a | b; }
    static Match And(Match a, Match b) { return a & b; }
    static Match Not(Match match) { return match ^ 0xFFFF; }
    static bool IsAny(Match match) { return match != 0; }
    static UInt32 GetBits(Match match) { return match; }
};

struct Vector512 {
    using Half = Vector256;
    using Register = __m512i;
    using Match = __mmask32;
    static constexpr UInt32 lanes = 32;
    static constexpr UInt32 bitsPerUnit = 1;
    static constexpr UInt32 bitsOfMatch = 1;

    static Register Load(const UInt16* units) { return _mm512_loadu_si512(units); }
    static void Store(UInt16* units, Register value) { _mm512_storeu_si512(units, value); }
    static Register Spread(UInt16 unit) { return _mm512_set1_epi16(static_cast<short>(unit)); }

    static Match Equal(Register a, Register b) { return _mm512_cmpeq_epi16_mask(a, b); }
    static Match Or(Match a, Match b) { return _kor_mask32(a, b); }
    static Match And(Match a, Match b) { return _kand_mask32(a, b); }
    static Match Not(Match match) { return _knot_mask32(match); }
    static bool IsAny(Match match) { return _kortestz_mask32_u8(match, match) == 0; }
    static UInt32 GetAllBits(Match match) { return _cvtmask32_u32(match); }
    static UInt32 GetBits(Match match) { return _cvtmask32_u32(match); }
    static Register Select(Match match, Register taken, Register other)
    {
        return _mm512_mask_mov_epi16(other, match, taken);
    }

    static bool IsAscii(Register units) { return _mm512_test_epi16_mask(units, Spread(0xFF80)) == 0; }
    static Register MapLetters(Register ascii, UInt16 first)
    {
        const Match letters = _mm512_cmplt_epu16_mask(_mm512_sub_epi16(ascii, Spread(first)), Spread(26));
        return _mm512_mask_blend_epi16(letters, ascii, _mm512_xor_si512(ascii, Spread(0x20)));
    }
};

} // namespace

constinit const SearchKernels searchAvx512 = MakeSearchKernels<Vector512>("Avx512");

} // namespace QV::Impl
