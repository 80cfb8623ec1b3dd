#include <QVRoot/Channel/Conversion/ConversionVectorsImpl.hpp>

namespace QV::Impl {

namespace {

struct Vector256 {
    using Register = __m256i;
    static constexpr USize size = 32;

    static Register Load(const void* address)
    {
        return _mm256_loadu_si256(static_cast<const Register*>(address));
    }
    static void Store(void* address, Register value)
    {
        _mm256_storeu_si256(static_cast<Register*>(address), value);
    }
    static Register Spread(char byte) { return _mm256_set1_epi8(byte); }
    static Register SpreadLanes(__m128i lane) { return _mm256_broadcastsi128_si256(lane); }
    static Register Shuffle(Register bytes, Register places) { return _mm256_shuffle_epi8(bytes, places); }
    static UInt64 GetEqual(Register a, Register b)
    {
        return static_cast<UInt32>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(a, b)));
    }

    static constexpr bool canCompress = false;
    static UInt8* Compress(UInt8* target, Register, UInt64, UInt8, UInt64) { return target; }

    static Register Xor(Register a, Register b) { return _mm256_xor_si256(a, b); }
    static Register SubtractSaturated(Register a, Register b) { return _mm256_subs_epi8(a, b); }
    static bool HasNegative(Register bytes) { return _mm256_movemask_epi8(bytes) != 0; }
    static Register ClearNegative(Register bytes)
    {
        return _mm256_andnot_si256(_mm256_cmpgt_epi8(_mm256_setzero_si256(), bytes), bytes);
    }

    using UpperMap = RowMap<Vector256>;
};

} // namespace

constinit const ConversionKernels conversionAvx2 = MakeConversionKernels<Vector256>("Avx2");

} // namespace QV::Impl
