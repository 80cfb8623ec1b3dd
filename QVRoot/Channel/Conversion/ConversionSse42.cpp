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

    /// The upper half of a map in rows of 16, each as its difference from the one before: the sum of all up
    /// to a row is that row.
    struct UpperMap {
        Register rows[8];

        explicit UpperMap(const UInt8* upper)
        {
            Register before = _mm_setzero_si128();
            for (USize row = 0; row < 8; ++row) {
                const Register bytes = Load(upper + row * 16);
                rows[row] = _mm_xor_si128(bytes, before);
                before = bytes;
            }
        }

        Register Translate(Register bytes) const
        {
            if (_mm_movemask_epi8(bytes) == 0) {
                return bytes;
            }
            const Register ascii = _mm_andnot_si128(_mm_cmpgt_epi8(_mm_setzero_si128(), bytes), bytes);
            return AddRows<0>(_mm_xor_si128(bytes, Spread(-0x80)), ascii);
        }

    private:
        /// Places are negative for bytes in front of the row, where a shuffle finds 0.
        template <int row>
        Register AddRows(Register places, Register sum) const
        {
            sum = _mm_xor_si128(sum, Shuffle(rows[row], places));
            if constexpr (row < 7) {
                return AddRows<row + 1>(_mm_subs_epi8(places, Spread(16)), sum);
            } else {
                return sum;
            }
        }
    };
};

} // namespace

constinit const ConversionKernels conversionSse42 = MakeConversionKernels<Vector128>("Sse42");

} // namespace QV::Impl
