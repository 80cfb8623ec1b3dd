#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>

// Some of the compiler's own definitions start from a register whose contents do not matter.
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>

namespace QV::Impl {

namespace {

using Vector = __m512i;

constexpr USize block = 64;
constexpr UInt64 everyLane = ~UInt64(0);

/// Tables of 128 bytes fill two registers, which one instruction looks up.
struct ByteTable {
    Vector first;
    Vector second;
};

inline Vector Load(const void* address)
{
    return _mm512_loadu_si512(address);
}

inline UInt64 FirstLanes(USize count)
{
    return count >= block ? everyLane : _bzhi_u64(everyLane, static_cast<unsigned>(count));
}

/// The low bytes of 64 units.
inline Vector Narrow(Vector first, Vector second)
{
    return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi16_epi8(first)),
                              _mm512_cvtepi16_epi8(second), 1);
}

inline Vector LoadNarrow(const UInt16* units, int shift)
{
    const __m128i count = _mm_cvtsi32_si128(shift);
    return Narrow(_mm512_srl_epi16(Load(units), count), _mm512_srl_epi16(Load(units + 32), count));
}

/// The upper half of a table of units, low and high bytes apart.
struct UnitTable {
    ByteTable low;
    ByteTable high;

    explicit UnitTable(const UInt16* table)
        : low{LoadNarrow(table + 128, 0), LoadNarrow(table + 192, 0)}, high{LoadNarrow(table + 128, 8),
                                                                            LoadNarrow(table + 192, 8)}
    {
    }
};

/// 64 bytes in the order in which `Store` wants them: the quarters 0, 2, 1, 3 of eight bytes each half.
inline Vector Spread(Vector bytes)
{
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7), bytes);
}

inline void DecodeBlock(const UnitTable& table, Vector bytes, UInt16* target, USize count)
{
    const Vector spread = Spread(bytes);
    const UInt64 upper = _mm512_movepi8_mask(spread);
    const Vector low = _mm512_mask_blend_epi8(
        upper, spread, _mm512_permutex2var_epi8(table.low.first, spread, table.low.second));
    const Vector high = _mm512_maskz_permutex2var_epi8(upper, table.high.first, spread, table.high.second);
    const Vector first = _mm512_unpacklo_epi8(low, high);
    const Vector second = _mm512_unpackhi_epi8(low, high);
    if (count == block) {
        _mm512_storeu_si512(target, first);
        _mm512_storeu_si512(target + 32, second);
    } else {
        const UInt64 lanes = FirstLanes(count);
        _mm512_mask_storeu_epi16(target, static_cast<__mmask32>(lanes), first);
        _mm512_mask_storeu_epi16(target + 32, static_cast<__mmask32>(lanes >> 32), second);
    }
}

void Decode(const UInt16* table, const UInt8* source, USize length, UInt16* target)
{
    if (length < 16) {
        for (USize i = 0; i < length; ++i) {
            target[i] = table[source[i]];
        }
        return;
    }
    const UnitTable units(table);
    USize i = 0;
    for (; i + block <= length; i += block) {
        DecodeBlock(units, Load(source + i), target + i, block);
    }
    if (i < length) {
        const Vector rest = _mm512_maskz_loadu_epi8(FirstLanes(length - i), source + i);
        DecodeBlock(units, rest, target + i, length - i);
    }
}

/// 64 units as their low bytes and, above bit 7, the number of their row.
struct Units {
    Vector first;
    Vector second;

    UInt64 FindBeyondAscii() const
    {
        const Vector mask = _mm512_set1_epi16(static_cast<short>(0xFF80));
        return _mm512_test_epi16_mask(first, mask) | static_cast<UInt64>(_mm512_test_epi16_mask(second, mask))
                                                         << 32;
    }

    UInt64 FindRow(UInt16 unit) const
    {
        const Vector rows = _mm512_set1_epi16(static_cast<short>(unit & 0xFF80));
        const Vector mask = _mm512_set1_epi16(static_cast<short>(0xFF80));
        return _mm512_cmpeq_epi16_mask(_mm512_and_si512(first, mask), rows) |
               static_cast<UInt64>(_mm512_cmpeq_epi16_mask(_mm512_and_si512(second, mask), rows)) << 32;
    }
};

/// One row of 128 units after the other, as they occur: a text keeps to few.
inline bool EncodeBlock(const UInt8* table, const UInt16* source, Units units, UInt8* target, UInt64 lanes)
{
    Vector bytes = Narrow(units.first, units.second);
    const UInt64 wide = units.FindBeyondAscii() & lanes;
    for (UInt64 left = wide; left != 0;) {
        const UInt16 unit = source[_tzcnt_u64(left)];
        const UInt8* const row = table + (unit & 0xFF80);
        const UInt64 inRow = units.FindRow(unit) & left;
        bytes = _mm512_mask_blend_epi8(inRow, bytes,
                                       _mm512_permutex2var_epi8(Load(row), bytes, Load(row + block)));
        left &= ~inRow;
    }
    _mm512_mask_storeu_epi8(target, lanes, bytes);
    return _mm512_mask_testn_epi8_mask(wide, bytes, bytes) == 0;
}

bool Encode(const UInt8* table, const UInt16* source, USize length, UInt8* target)
{
    USize i = 0;
    for (; i + block <= length; i += block) {
        const Units units = {Load(source + i), Load(source + i + 32)};
        if (!EncodeBlock(table, source + i, units, target + i, everyLane)) {
            return false;
        }
    }
    if (i == length) {
        return true;
    }
    const UInt64 lanes = FirstLanes(length - i);
    const Units units = {_mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes), source + i),
                         _mm512_maskz_loadu_epi16(static_cast<__mmask32>(lanes >> 32), source + i + 32)};
    return EncodeBlock(table, source + i, units, target + i, lanes);
}

USize WidenRun(const UInt8* source, USize length, UInt16* target)
{
    USize i = 0;
    for (; i + block <= length; i += block) {
        const Vector bytes = Load(source + i);
        if (_mm512_movepi8_mask(bytes) != 0) {
            break;
        }
        const Vector spread = Spread(bytes);
        _mm512_storeu_si512(target + i, _mm512_unpacklo_epi8(spread, _mm512_setzero_si512()));
        _mm512_storeu_si512(target + i + 32, _mm512_unpackhi_epi8(spread, _mm512_setzero_si512()));
    }
    return i;
}

USize NarrowRun(const UInt16* source, USize length, UInt8* target)
{
    USize i = 0;
    for (; i + block <= length; i += block) {
        const Units units = {Load(source + i), Load(source + i + 32)};
        if (units.FindBeyondAscii() != 0) {
            break;
        }
        _mm512_storeu_si512(target + i, Narrow(units.first, units.second));
    }
    return i;
}

} // namespace

constinit const CodePageKernels codePageAvx512 = {"Avx512", Decode, Encode, WidenRun, NarrowRun};

} // namespace QV::Impl
