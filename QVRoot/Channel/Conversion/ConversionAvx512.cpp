// Some of the compiler's own definitions start from a register whose contents do not matter.
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <QVRoot/Channel/Conversion/ConversionVectorsImpl.hpp>

namespace QV::Impl {

namespace {

struct Vector512 {
    using Register = __m512i;
    static constexpr USize size = 64;

    static Register Load(const void* address) { return _mm512_loadu_si512(address); }
    static void Store(void* address, Register value) { _mm512_storeu_si512(address, value); }
    static Register Spread(char byte) { return _mm512_set1_epi8(byte); }
    static Register SpreadLanes(__m128i lane) { return _mm512_broadcast_i32x4(lane); }
    static Register Shuffle(Register bytes, Register places) { return _mm512_shuffle_epi8(bytes, places); }
    static UInt64 GetEqual(Register a, Register b) { return _mm512_cmpeq_epi8_mask(a, b); }

    /// Stores bytes, those of `changed` as `byte` and those of `left` not at all, and answers where they end.
    static constexpr bool canCompress = true;
    static UInt8* Compress(UInt8* target, Register bytes, UInt64 changed, UInt8 byte, UInt64 left)
    {
        const Register others = _mm512_mask_set1_epi8(bytes, changed, static_cast<char>(byte));
        Store(target, _mm512_maskz_compress_epi8(~left, others));
        return target + _mm_popcnt_u64(~left);
    }

    /// The upper half of a map fills two registers, which one instruction looks up.
    struct UpperMap {
        Register first;
        Register second;

        explicit UpperMap(const UInt8* upper) : first(Load(upper)), second(Load(upper + size)) {}

        Register Translate(Register bytes) const
        {
            return _mm512_mask2_permutex2var_epi8(first, bytes, _mm512_movepi8_mask(bytes), second);
        }
    };
};

} // namespace

constinit const ConversionKernels conversionAvx512 = MakeConversionKernels<Vector512>("Avx512");

} // namespace QV::Impl
