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

    /// The upper half of a map in rows of 16, each as its difference from the one before: the sum of all up
    /// to a row is that row.
    struct UpperMap {
        Register rows[8];

        explicit UpperMap(const UInt8* upper)
        {
            Register before = _mm256_setzero_si256();
            for (USize row = 0; row < 8; ++row) {
                const Register bytes =
                    SpreadLanes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(upper + row * 16)));
                rows[row] = _mm256_xor_si256(bytes, before);
                before = bytes;
            }
        }

        Register Translate(Register bytes) const
        {
            if (_mm256_movemask_epi8(bytes) == 0) {
                return bytes;
            }
            const Register ascii =
                _mm256_andnot_si256(_mm256_cmpgt_epi8(_mm256_setzero_si256(), bytes), bytes);
            return AddRows<0>(_mm256_xor_si256(bytes, Spread(-0x80)), ascii);
        }

    private:
        /// Places are negative for bytes in front of the row, where a shuffle finds 0.
        template <int row>
        Register AddRows(Register places, Register sum) const
        {
            sum = _mm256_xor_si256(sum, Shuffle(rows[row], places));
            if constexpr (row < 7) {
                return AddRows<row + 1>(_mm256_subs_epi8(places, Spread(16)), sum);
            } else {
                return sum;
            }
        }
    };
};

} // namespace

constinit const ConversionKernels conversionAvx2 = MakeConversionKernels<Vector256>("Avx2");

} // namespace QV::Impl
