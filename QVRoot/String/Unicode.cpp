#include <QVRoot/String/Unicode.hpp>

#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/String/Transcode/TranscodeImpl.hpp>

#include <atomic>
#include <cstdio>
#include <cstring>

namespace QV::Unicode {

namespace {

constexpr UInt32 fullReports = 19;
constinit std::atomic<UInt32> illegalSequences = 0;

/// Formats and hands over the report on `length` bytes, the last of them illegal. Reporting must not
/// allocate, so the text has a limit: what does not fit is left out at the end.
void ReportBytes(const UInt8* bytes, USize length, int line) noexcept
{
    constexpr int roomForByte = sizeof(" 0xffffff00") - 1;
    char text[4096];
    int used =
        std::snprintf(text, sizeof(text), "UTF8 Assertion failed at %s %d - Data:", "String/Unicode", line);
    for (USize i = 0; i < length && used + roomForByte < static_cast<int>(sizeof(text)); ++i) {
        const UInt32 value = static_cast<UInt32>(static_cast<Int8>(bytes[i]));
        used += std::snprintf(text + used, sizeof(text) - static_cast<USize>(used), " 0x%02x", value);
    }
    ErrorReporting::Report(text);
}

/// Counts an illegal sequence, and reports it unless there have been too many.
void ReportIllegalSequence(const UInt8* bytes, USize length, int line) noexcept
{
    if (illegalSequences.load(std::memory_order_relaxed) > fullReports) {
        return;
    }
    const UInt32 before = illegalSequences.fetch_add(1, std::memory_order_relaxed);
    if (before < fullReports) {
        ReportBytes(bytes, length, line);
    } else if (before == fullReports) {
        ErrorReporting::Report("More UTF8Assertion... (not logged)");
    }
}

} // namespace

bool ConversionError::HasError(int result) noexcept
{
    return result < 1;
}

bool ConversionError::IsSuccessful(int result) noexcept
{
    return result > 0;
}

bool IsLegalUTF8(const char* sequence, int length) noexcept
{
    if (length < 1 || length > 4) {
        return false;
    }
    const UInt8* const bytes = reinterpret_cast<const UInt8*>(sequence);
    for (int i = 1; i < length; ++i) {
        if (bytes[i] < 0x80 || bytes[i] > 0xBF) {
            return false;
        }
    }
    const UInt8 lead = bytes[0];
    if (length > 1 && ((lead == 0xE0 && bytes[1] < 0xA0) || (lead == 0xF0 && bytes[1] < 0x90) ||
                       (lead == 0xF4 && bytes[1] >= 0x90))) {
        return false;
    }
    return lead < 0x80 || (lead > 0xC1 && lead < 0xF5);
}

} // namespace QV::Unicode

void QV::Impl::ReportIfMalformed(const char* source, USize offset) noexcept
{
    // The other reasons, a lead byte that UTF-8 does not have and a code point that is not allowed, are not
    // reported.
    const UInt8* const bytes = reinterpret_cast<const UInt8*>(source);
    const int trailing = GetTrailingBytes(bytes[offset]);
    if (trailing <= 3 && !Unicode::IsLegalUTF8(source + offset, trailing + 1)) {
        Unicode::ReportIllegalSequence(bytes, offset + static_cast<USize>(trailing) + 1, __LINE__);
    }
}
