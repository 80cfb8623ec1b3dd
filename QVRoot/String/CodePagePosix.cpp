#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/String/CodePagePosixImpl.hpp>
#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/Transcode/TranscodeChoiceImpl.hpp>
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
    return GetTranscodeKernels().length16(text) + 1;
}

/// Whether every unit has its own byte.
bool HasExactBytes(const SingleByteEncoding& encoding, const UInt16* text, USize length)
{
    UInt8 bytes[512];
    const CodePageKernels& kernels = GetCodePageKernels();
    for (USize i = 0; i < length; i += sizeof(bytes)) {
        if (!kernels.encode(encoding.exact, text + i, std::min<USize>(length - i, sizeof(bytes)), bytes)) {
            return false;
        }
    }
    return true;
}

int EncodeSingleBytes(const SingleByteEncoding& encoding, const UInt16* text, USize length, char* result,
                      int resultLength, bool lossy)
{
    if (length > maxLength || (resultLength != 0 && length > static_cast<USize>(resultLength))) {
        return DescribeFailure("the result is too long");
    }
    bool isComplete = true;
    if (resultLength != 0) {
        const UInt8* const table = lossy ? encoding.bytes : encoding.exact;
        isComplete = GetCodePageKernels().encode(table, text, length, reinterpret_cast<UInt8*>(result));
    } else if (!lossy) {
        isComplete = HasExactBytes(encoding, text, length);
    }
    return isComplete || lossy ? static_cast<int>(length) : 0;
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
    const USize count = length < 0 ? std::strlen(text) + 1 : static_cast<USize>(length);
    return table == nullptr ? 0 : DecodeDoubleBytes(*table, text, count, result, resultLength);
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
        return EncodeSingleBytes(*encoding, text, count, result, resultLength, lossy);
    }
    const DoubleBytePage* const table = GetDoubleBytePage(page);
    if (table == nullptr) {
        return DescribeFailure("the code page is not there");
    }
    const int bytes = EncodeDoubleBytes(*table, text, count, result, resultLength, lossy);
    return bytes == 0 && lossy ? DescribeFailure("the result is too long") : bytes;
}

} // namespace QV::Impl
