#include <QVRoot/Channel/Conversion/ConversionVectorsImpl.hpp>

namespace QV::Impl {

namespace {

struct Vector128 {
    using Register = __m128i;
    static constexpr USize size = 16;

    static Register Load(const void* address)
    {
        return _mm_loadu_si128(static_cast<const Register*>(address));
    }
    static void Store(void* address, Register value)
    {
        _mm_storeu_si128(static_cast<Register*>(address), value);
    }
    static Register Spread(char byte) { return _mm_set1_epi8(byte); }
    static Register SpreadLanes(__m128i lane) { return lane; }
    static Register Shuffle(Register bytes, Register places) { return _mm_shuffle_epi8(bytes, places); }
    static UInt64 GetEqual(Register a, Register b)
    {
        return static_cast<UInt32>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
    }

    static constexpr bool canCompress = false;
    static UInt8* Compress(UInt8* target, Register, UInt64, UInt8, UInt64) { return target; }

    static Register Xor(Register a, Register b) { return _mm_xor_si128(a, b); }
    static Register SubtractSaturated(Register a, Register b) { return _mm_subs_epi8(a, b); }
    static bool HasNegative(Register bytes) { return _mm_movemask_epi8(bytes) != 0; }
    static Register ClearNegative(Register bytes)
    {
        return _mm_andnot_si128(_mm_cmpgt_epi8(_mm_setzero_si128(), bytes), bytes);
    }

    using UpperMap = RowMap<Vector128>;
};

} // namespace

constinit const ConversionKernels conversionSse42 = MakeConversionKernels<Vector128>("Sse42");

} // namespace QV::Impl
