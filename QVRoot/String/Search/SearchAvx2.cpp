#include <QVRoot/String/Search/Vectors128Impl.hpp>

namespace QV::Impl {

namespace {

struct Vector256 {
    using Half = Vector128;
    using Register = __m256i;
    using Match = __m256i;
    static constexpr UInt32 lanes = 16;
    static constexpr UInt32 bitsPerUnit = 2;
    static constexpr UInt32 bitsOfMatch = 2;

    static Register Load(const UInt16* units)
    {
        return _mm256_loadu_si256(reinterpret_cast<const Register*>(units));
    }
    static void Store(UInt16* units, Register value)
    {
        _mm256_storeu_si256(reinterpret_cast<Register*>(units), value);
    }
    static Register Spread(UInt16 unit) { return _mm256_set1_epi16(static_cast<short>(unit)); }

    static Match Equal(Register a, Register b) { return _mm256_cmpeq_epi16(a, b); }
    static Match Or(Match a, Match b) { return _mm256_or_si256(a, b); }
    static Match And(Match a, Match b) { return _mm256_and_si256(a, b); }
    static Match Not(Match match) { return _mm256_xor_si256(match, _mm256_set1_epi16(-1)); }
    static bool IsAny(Match match) { return _mm256_testz_si256(match, match) == 0; }
    static UInt32 GetAllBits(Match match) { return static_cast<UInt32>(_mm256_movemask_epi8(match)); }
    static UInt32 GetBits(Match match) { return GetAllBits(match) & 0x55555555; }
    static Register Select(Match match, Register taken, Register other)
    {
        return _mm256_blendv_epi8(other, taken, match);
    }

    static bool IsAscii(Register units) { return _mm256_testz_si256(units, Spread(0xFF80)) != 0; }
    static Register MapLetters(Register ascii, UInt16 first)
    {
        const Match letters =
            _mm256_and_si256(_mm256_cmpgt_epi16(ascii, Spread(static_cast<UInt16>(first - 1))),
                             _mm256_cmpgt_epi16(Spread(static_cast<UInt16>(first + 26)), ascii));
        return _mm256_xor_si256(ascii, _mm256_and_si256(letters, Spread(0x20)));
    }
};

} // namespace

constinit const SearchKernels searchAvx2 = MakeSearchKernels<Vector256>("Avx2");

} // namespace QV::Impl
