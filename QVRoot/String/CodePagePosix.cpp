#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/String/CodePagePosixImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/Unicode.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl {

namespace {

constexpr USize maxLength = 0x7FFFFFFF;

/// For whoever watches the debug output; answers 0, the conversion's result.
int DescribeFailure(const char* reason)
{
    DBPrintf("Conversion to 8-bit text failed: %s\n", reason);
    return 0;
}

USize CountUnits(const UInt16* text, int length)
{
    if (length >= 0) {
        return static_cast<USize>(length);
    }
    USize count = 0;
    while (text[count++] != 0) {
    }
    return count;
}

int DecodeDoubleBytes(const DoubleBytePage& page, const char* text, int length, UInt16* result,
                      int resultLength)
{
    const USize count = length < 0 ? std::strlen(text) + 1 : static_cast<USize>(length);
    const USize capacity = resultLength == 0 ? maxLength : static_cast<USize>(resultLength);
    USize units = 0;
    for (USize i = 0; i < count; ++i, ++units) {
        if (units == capacity) {
            return 0;
        }
        const UInt8 byte = static_cast<UInt8>(text[i]);
        UInt16 unit = page.singles[byte];
        if (page.isLead[byte]) {
            // A lead byte does not swallow a zero.
            const bool paired = i + 1 < count && text[i + 1] != 0;
            unit = paired ? page.DecodePair(byte, static_cast<UInt8>(text[++i])) : page.undefined;
        }
        if (resultLength != 0) {
            result[units] = unit;
        }
    }
    return static_cast<int>(units);
}

int EncodeSingleBytes(const SingleByteEncoding& encoding, const UInt16* decoding, const UInt16* text,
                      USize length, char* result, int resultLength, bool lossy)
{
    if (length > maxLength || (resultLength != 0 && length > static_cast<USize>(resultLength))) {
        return DescribeFailure("the result is too long");
    }
    if (!lossy) {
        for (USize i = 0; i < length; ++i) {
            if (decoding[encoding.bytes[text[i]]] != text[i]) {
                return 0;
            }
        }
    }
    if (resultLength != 0) {
        for (USize i = 0; i < length; ++i) {
            result[i] = static_cast<char>(encoding.bytes[text[i]]);
        }
    }
    return static_cast<int>(length);
}

int EncodeDoubleBytes(const DoubleBytePage& page, const UInt16* text, USize length, char* result,
                      int resultLength, bool lossy)
{
    const USize capacity = resultLength == 0 ? maxLength : static_cast<USize>(resultLength);
    USize bytes = 0;
    for (USize i = 0; i < length; ++i) {
        const UInt16 code = page.codes[text[i]];
        const USize size = code < 0x100 ? 1 : 2;
        if (!lossy && page.Decode(code) != text[i]) {
            return 0;
        }
        if (size > capacity - bytes) {
            return DescribeFailure("the result is too long");
        }
        if (resultLength != 0) {
            if (size == 2) {
                result[bytes] = static_cast<char>(code >> 8);
            }
            result[bytes + size - 1] = static_cast<char>(code);
        }
        bytes += size;
    }
    return static_cast<int>(bytes);
}

} // namespace

int DecodeCodePage(UInt32 page, const char* text, int length, UInt16* result, int resultLength) noexcept
{
    page = page == 0 ? GetSystemPage() : page;
    if (page == utf8Page) {
        return std::max(Unicode::UTF8ToUTF16(text, length, result, resultLength, true), 0);
    }
    if (const UInt16* const table = FindSingleByteTable(page)) {
        return DecodeSingleBytes(table, text, length, result, resultLength);
    }
    const DoubleBytePage* const table = GetDoubleBytePage(page);
    return table == nullptr ? 0 : DecodeDoubleBytes(*table, text, length, result, resultLength);
}

int EncodeCodePage(UInt32 page, const UInt16* text, int length, char* result, int resultLength,
                   bool lossy) noexcept
{
    page = page == 0 ? GetSystemPage() : page;
    if (page == utf8Page) {
        return std::max(Unicode::UTF16ToUTF8(text, length, result, resultLength, true), 0);
    }
    const USize count = CountUnits(text, length);
    if (const SingleByteEncoding* const encoding = GetSingleByteEncoding(page)) {
        return EncodeSingleBytes(*encoding, FindSingleByteTable(page), text, count, result, resultLength,
                                 lossy);
    }
    const DoubleBytePage* const table = GetDoubleBytePage(page);
    return table == nullptr ? DescribeFailure("the code page is not there")
                            : EncodeDoubleBytes(*table, text, count, result, resultLength, lossy);
}

} // namespace QV::Impl
