#include <QVRoot/String/Unicode.hpp>

#include <unicode/ustring.h>

namespace QV::Unicode {

namespace {

constexpr UChar32 replacement = 0xFFFD;

/// Translates the service's answer. `room` 0 asks for the count alone.
int GetResult(UErrorCode error, int produced, int room, bool countTerminator) noexcept
{
    const int count = produced + (countTerminator ? 1 : 0);
    if (error == U_BUFFER_OVERFLOW_ERROR && room == 0) {
        return count;
    }
    const bool isFull = error == U_BUFFER_OVERFLOW_ERROR || (U_SUCCESS(error) && room > 0 && count > room);
    if (isFull || error == U_ILLEGAL_ARGUMENT_ERROR) {
        return ConversionError::DestinationTooSmall;
    }
    return U_FAILURE(error) ? static_cast<int>(ConversionError::IllegalSequence) : count;
}

} // namespace

int OS_UTF8ToUTF16(const char* source, int sourceLength, unsigned short* destination, int destinationLength,
                   bool strict) noexcept
{
    if (source == nullptr || sourceLength == 0 || sourceLength < -1) {
        return 0;
    }
    UErrorCode error = U_ZERO_ERROR;
    int32_t produced = 0;
    UChar* const target = destinationLength == 0 ? nullptr : reinterpret_cast<UChar*>(destination);
    u_strFromUTF8WithSub(target, destinationLength, &produced, source, sourceLength,
                         strict ? U_SENTINEL : replacement, nullptr, &error);
    return GetResult(error, produced, destinationLength, sourceLength < 0);
}

int OS_UTF16ToUTF8(const unsigned short* source, int sourceLength, char* destination, int destinationLength,
                   bool strict) noexcept
{
    if (source == nullptr || sourceLength == 0 || sourceLength < -1) {
        return 0;
    }
    UErrorCode error = U_ZERO_ERROR;
    int32_t produced = 0;
    char* const target = destinationLength == 0 ? nullptr : destination;
    u_strToUTF8WithSub(target, destinationLength, &produced, reinterpret_cast<const UChar*>(source),
                       sourceLength, strict ? U_SENTINEL : replacement, nullptr, &error);
    return GetResult(error, produced, destinationLength, sourceLength < 0);
}

} // namespace QV::Unicode
