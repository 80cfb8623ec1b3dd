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

    /// The upper half of a map in rows of 16, each in both halves of its register.
    struct UpperMap {
        Register rows[8];

        explicit UpperMap(const UInt8* upper)
        {
            for (USize row = 0; row < 8; ++row) {
                rows[row] = SpreadLanes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(upper + row * 16)));
            }
        }

        Register Translate(Register bytes) const
        {
            if (_mm256_movemask_epi8(bytes) == 0) {
                return bytes;
            }
            Register result = _mm256_andnot_si256(_mm256_cmpgt_epi8(_mm256_setzero_si256(), bytes), bytes);
            for (int row = 0; row < 8; ++row) {
                // Bytes of the row keep their place in it below 0x80; the others saturate, and find 0.
                const Register offset = _mm256_sub_epi8(bytes, Spread(static_cast<char>(0x80 + row * 16)));
                const Register index = _mm256_adds_epu8(offset, Spread(0x70));
                result = _mm256_or_si256(result, _mm256_shuffle_epi8(rows[row], index));
            }
            return result;
        }
    };
};

} // namespace

constinit const ConversionKernels conversionAvx2 = MakeConversionKernels<Vector256>("Avx2");

} // namespace QV::Impl
