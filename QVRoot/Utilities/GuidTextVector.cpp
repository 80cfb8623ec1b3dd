#include <QVRoot/Utilities/GuidTextImpl.hpp>

#include <emmintrin.h>

#include <cstring>

namespace QV::Impl {

namespace {

template <class T>
T Load(const char* bytes) noexcept
{
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

template <class T>
void Store(char* bytes, UInt64 value) noexcept
{
    const T low = static_cast<T>(value);
    std::memcpy(bytes, &low, sizeof(T));
}

constexpr UInt32 SwapBytes(UInt32 value) noexcept
{
    return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
}

/// The first 8 bytes in the order of the text from their order in memory, and the other way round.
constexpr UInt64 Reorder(UInt64 image) noexcept
{
    const UInt32 first = SwapBytes(static_cast<UInt32>(image));
    const UInt32 others = SwapBytes(static_cast<UInt32>(image >> 32));
    return first | UInt64{others << 16 | others >> 16} << 32;
}

__m128i Fill(int byte) noexcept
{
    return _mm_set1_epi8(static_cast<char>(byte));
}

/// 16 digits as 8 numbers of 16 bits; clears bytes of `valid` where something else stands.
__m128i DecodeDigits(__m128i text, __m128i& valid) noexcept
{
    const __m128i lower = _mm_or_si128(text, Fill(0x20));
    const __m128i isDigit =
        _mm_and_si128(_mm_cmpgt_epi8(text, Fill('0' - 1)), _mm_cmplt_epi8(text, Fill('9' + 1)));
    const __m128i isLetter =
        _mm_and_si128(_mm_cmpgt_epi8(lower, Fill('a' - 1)), _mm_cmplt_epi8(lower, Fill('f' + 1)));
    valid = _mm_and_si128(valid, _mm_or_si128(isDigit, isLetter));
    const __m128i nibbles = _mm_add_epi8(_mm_and_si128(text, Fill(0x0F)), _mm_and_si128(isLetter, Fill(9)));
    const __m128i pairs = _mm_or_si128(_mm_slli_epi16(nibbles, 4), _mm_srli_epi16(nibbles, 8));
    return _mm_and_si128(pairs, _mm_set1_epi16(0xFF));
}

bool ParseDigits(__m128i front, __m128i back, Guid& value) noexcept
{
    __m128i valid = Fill(0xFF);
    const __m128i bytes = _mm_packus_epi16(DecodeDigits(front, valid), DecodeDigits(back, valid));
    if (_mm_movemask_epi8(valid) != 0xFFFF) {
        return false;
    }
    UInt64 image[2];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(image), bytes);
    image[0] = Reorder(image[0]);
    std::memcpy(static_cast<void*>(&value), image, sizeof(image));
    return true;
}

/// 16 nibbles as digits.
__m128i EncodeDigits(__m128i nibbles) noexcept
{
    const __m128i isLetter = _mm_cmpgt_epi8(nibbles, Fill(9));
    const __m128i offset = _mm_and_si128(isLetter, Fill('A' - '0' - 10));
    return _mm_add_epi8(_mm_add_epi8(nibbles, Fill('0')), offset);
}

UInt64 GetLow(__m128i vector) noexcept
{
    return static_cast<UInt64>(_mm_cvtsi128_si64(vector));
}

UInt64 GetHigh(__m128i vector) noexcept
{
    return GetLow(_mm_unpackhi_epi64(vector, vector));
}

/// 4 units from either place.
__m128i LoadUnits(const unsigned short* first, const unsigned short* second) noexcept
{
    return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(first)),
                              _mm_loadl_epi64(reinterpret_cast<const __m128i*>(second)));
}

template <class Unit>
bool HasSeparators(const Unit* text) noexcept
{
    return text[8] == '-' && text[13] == '-' && text[18] == '-' && text[23] == '-';
}

} // namespace

void PrintGuid(const Guid& value, char* text) noexcept
{
    UInt64 image[2];
    std::memcpy(image, &value, sizeof(image));
    const __m128i bytes =
        _mm_set_epi64x(static_cast<long long>(image[1]), static_cast<long long>(Reorder(image[0])));
    const __m128i high = _mm_and_si128(_mm_srli_epi16(bytes, 4), Fill(0x0F));
    const __m128i low = _mm_and_si128(bytes, Fill(0x0F));
    const __m128i front = EncodeDigits(_mm_unpacklo_epi8(high, low));
    const __m128i back = EncodeDigits(_mm_unpackhi_epi8(high, low));
    const UInt64 second = GetHigh(front);
    const UInt64 third = GetLow(back);
    Store<UInt64>(text, GetLow(front));
    Store<UInt32>(text + 9, second);
    Store<UInt32>(text + 14, second >> 32);
    Store<UInt32>(text + 19, third);
    Store<UInt32>(text + 24, third >> 32);
    Store<UInt64>(text + 28, GetHigh(back));
    text[8] = '-';
    text[13] = '-';
    text[18] = '-';
    text[23] = '-';
}

bool ParseSeparatedGuid(const char* text, Guid& value) noexcept
{
    if (!HasSeparators(text)) {
        return false;
    }
    const UInt64 second = Load<UInt32>(text + 9) | UInt64{Load<UInt32>(text + 14)} << 32;
    const UInt64 third = Load<UInt32>(text + 19) | UInt64{Load<UInt32>(text + 24)} << 32;
    return ParseDigits(_mm_set_epi64x(static_cast<long long>(second), Load<long long>(text)),
                       _mm_set_epi64x(Load<long long>(text + 28), static_cast<long long>(third)), value);
}

bool ParseSeparatedGuid(const unsigned short* text, Guid& value) noexcept
{
    if (!HasSeparators(text)) {
        return false;
    }
    // Units beyond a byte are narrowed to bytes that are no digits.
    const __m128i front = _mm_packus_epi16(LoadUnits(text, text + 4), LoadUnits(text + 9, text + 14));
    const __m128i back = _mm_packus_epi16(LoadUnits(text + 19, text + 24), LoadUnits(text + 28, text + 32));
    return ParseDigits(front, back, value);
}

bool ParseBareGuid(const char* text, Guid& value) noexcept
{
    return ParseDigits(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)),
                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 16)), value);
}

} // namespace QV::Impl
