#include <QVRoot/String/Unicode.hpp>

#include <windows.h>

namespace QV::Unicode {

namespace {

int GetResult(int produced) noexcept
{
    if (produced > 0) {
        return produced;
    }
    return GetLastError() == ERROR_NO_UNICODE_TRANSLATION ? ConversionError::IllegalSequence
                                                          : ConversionError::DestinationTooSmall;
}

} // namespace

int OS_UTF8ToUTF16(const char* source, int sourceLength, unsigned short* destination, int destinationLength,
                   bool strict) noexcept
{
    if (source == nullptr || sourceLength == 0 || sourceLength < -1) {
        return 0;
    }
    const DWORD flags = strict ? MB_ERR_INVALID_CHARS : 0;
    // Counted first: some systems cut a surrogate pair in two at the end of the destination and call it done.
    const int needed = MultiByteToWideChar(CP_UTF8, flags, source, sourceLength, nullptr, 0);
    if (needed <= 0 || destinationLength == 0) {
        return GetResult(needed);
    }
    if (needed > destinationLength) {
        return ConversionError::DestinationTooSmall;
    }
    return GetResult(MultiByteToWideChar(CP_UTF8, flags, source, sourceLength,
                                         reinterpret_cast<wchar_t*>(destination), destinationLength));
}

int OS_UTF16ToUTF8(const unsigned short* source, int sourceLength, char* destination, int destinationLength,
                   bool strict) noexcept
{
    if (source == nullptr || sourceLength == 0 || sourceLength < -1) {
        return 0;
    }
    return GetResult(WideCharToMultiByte(CP_UTF8, strict ? WC_ERR_INVALID_CHARS : 0,
                                         reinterpret_cast<const wchar_t*>(source), sourceLength, destination,
                                         destinationLength, nullptr, nullptr));
}

} // namespace QV::Unicode
