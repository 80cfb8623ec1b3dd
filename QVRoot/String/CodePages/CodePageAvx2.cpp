#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>

#include <immintrin.h>

namespace QV::Impl {

namespace {

using Vector = __m256i;

constexpr USize block = 32;

inline Vector Load(const void* address)
{
    return _mm256_loadu_si256(static_cast<const Vector*>(address));
}

inline void Store(void* address, Vector vector)
{
    _mm256_storeu_si256(static_cast<Vector*>(address), vector);
}

/// 32 bytes in an order in which unpacking puts them right.
inline Vector Spread(Vector bytes)
{
    return _mm256_permute4x64_epi64(bytes, 0xD8);
}

/// Units from their low and high bytes, both spread.
inline void StoreUnits(UInt16* target, Vector low, Vector high)
{
    Store(target, _mm256_unpacklo_epi8(low, high));
    Store(target + 16, _mm256_unpackhi_epi8(low, high));
}

/// The upper half of a table of units in rows of 16, low and high bytes apart, each row in both halves of its
/// register.
struct UnitTable {
    Vector low[8];
    Vector high[8];

    explicit UnitTable(const UInt16* table)
    {
        const Vector bytes = _mm256_set1_epi16(0xFF);
        for (USize row = 0; row < 8; ++row) {
            const Vector units = Load(table + 128 + row * 16);
            const Vector parted = _mm256_permute4x64_epi64(
                _mm256_packus_epi16(_mm256_and_si256(units, bytes), _mm256_srli_epi16(units, 8)), 0xD8);
            low[row] = _mm256_permute4x64_epi64(parted, 0x44);
            high[row] = _mm256_permute4x64_epi64(parted, 0xEE);
        }
    }
};

/// Adds the units of four rows from `row` on.
inline void AddRows(const UnitTable& table, int row, Vector spread, Vector& low, Vector& high)
{
    for (const int end = row + 4; row < end; ++row) {
        // Bytes of the row keep their place in it below 0x80; the others saturate, and find 0.
        const Vector offset = _mm256_sub_epi8(spread, _mm256_set1_epi8(static_cast<char>(0x80 + row * 16)));
        const Vector index = _mm256_adds_epu8(offset, _mm256_set1_epi8(0x70));
        low = _mm256_or_si256(low, _mm256_shuffle_epi8(table.low[row], index));
        high = _mm256_or_si256(high, _mm256_shuffle_epi8(table.high[row], index));
    }
}

inline void DecodeBlock(const UnitTable& table, Vector spread, UInt16* target)
{
    const Vector isUpper = _mm256_cmpgt_epi8(_mm256_setzero_si256(), spread);
    Vector low = _mm256_andnot_si256(isUpper, spread);
    Vector high = _mm256_setzero_si256();
    // Below 0xC0 there are signs, which most texts have few of.
    if (_mm256_movemask_epi8(_mm256_cmpgt_epi8(_mm256_set1_epi8(-0x40), spread)) != 0) {
        AddRows(table, 0, spread, low, high);
    }
    AddRows(table, 4, spread, low, high);
    StoreUnits(target, low, high);
}

void Decode(const UInt16* table, const UInt8* source, USize length, UInt16* target)
{
    USize i = 0;
    if (length >= 2 * block) {
        const UnitTable units(table);
        for (; i + block <= length; i += block) {
            const Vector spread = Spread(Load(source + i));
            if (_mm256_movemask_epi8(spread) == 0) {
                StoreUnits(target + i, spread, _mm256_setzero_si256());
            } else {
                DecodeBlock(units, spread, target + i);
            }
        }
    }
    for (; i < length; ++i) {
        target[i] = table[source[i]];
    }
}

inline bool IsAscii(Vector first, Vector second)
{
    return _mm256_testz_si256(_mm256_or_si256(first, second),
                              _mm256_set1_epi16(static_cast<short>(0xFF80))) != 0;
}

inline void StoreNarrow(UInt8* target, Vector first, Vector second)
{
    Store(target, Spread(_mm256_packus_epi16(first, second)));
}

/// 32 units by the table. A byte of 0 makes it worth to look again.
inline bool EncodeBlock(const UInt8* table, const UInt16* source, UInt8* target)
{
    for (USize i = 0; i < block; i += 4) {
        target[i] = table[source[i]];
        target[i + 1] = table[source[i + 1]];
        target[i + 2] = table[source[i + 2]];
        target[i + 3] = table[source[i + 3]];
    }
    const Vector isZero = _mm256_cmpeq_epi8(Load(target), _mm256_setzero_si256());
    return _mm256_movemask_epi8(isZero) == 0 || ReferenceEncodeSingles(table, source, block, target);
}

bool Encode(const UInt8* table, const UInt16* source, USize length, UInt8* target)
{
    USize i = 0;
    for (; i + block <= length; i += block) {
        const Vector first = Load(source + i);
        const Vector second = Load(source + i + 16);
        if (IsAscii(first, second)) {
            StoreNarrow(target + i, first, second);
        } else if (!EncodeBlock(table, source + i, target + i)) {
            return false;
        }
    }
    return ReferenceEncodeSingles(table, source + i, length - i, target + i);
}

USize WidenRun(const UInt8* source, USize length, UInt16* target)
{
    USize i = 0;
    for (; i + block <= length; i += block) {
        const Vector spread = Spread(Load(source + i));
        if (_mm256_movemask_epi8(spread) != 0) {
            break;
        }
        StoreUnits(target + i, spread, _mm256_setzero_si256());
    }
    return i;
}

USize NarrowRun(const UInt16* source, USize length, UInt8* target)
{
    USize i = 0;
    for (; i + block <= length; i += block) {
        const Vector first = Load(source + i);
        const Vector second = Load(source + i + 16);
        if (!IsAscii(first, second)) {
            break;
        }
        StoreNarrow(target + i, first, second);
    }
    return i;
}

} // namespace

constinit const CodePageKernels codePageAvx2 = {"Avx2", Decode, Encode, WidenRun, NarrowRun};

} // namespace QV::Impl
