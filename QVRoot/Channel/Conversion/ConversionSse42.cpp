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

    /// The upper half of a map in rows of 16.
    struct UpperMap {
        Register rows[8];

        explicit UpperMap(const UInt8* upper)
        {
            for (USize row = 0; row < 8; ++row) {
                rows[row] = Load(upper + row * 16);
            }
        }

        Register Translate(Register bytes) const
        {
            if (_mm_movemask_epi8(bytes) == 0) {
                return bytes;
            }
            Register result = _mm_andnot_si128(_mm_cmpgt_epi8(_mm_setzero_si128(), bytes), bytes);
            for (int row = 0; row < 8; ++row) {
                // Bytes of the row keep their place in it below 0x80; the others saturate, and find 0.
                const Register offset = _mm_sub_epi8(bytes, Spread(static_cast<char>(0x80 + row * 16)));
                const Register index = _mm_adds_epu8(offset, Spread(0x70));
                result = _mm_or_si128(result, _mm_shuffle_epi8(rows[row], index));
            }
            return result;
        }
    };
};

} // namespace

constinit const ConversionKernels conversionSse42 = MakeConversionKernels<Vector128>("Sse42");

} // namespace QV::Impl
