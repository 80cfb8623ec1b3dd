#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>

#include <windows.h>

namespace QV::Impl {

namespace {

constexpr UInt32 symbolPage = 42;

/// The system's words for a failure, for whoever watches the debug output.
void DescribeFailure(DWORD error)
{
    char text[512];
    const DWORD flags =
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    if (FormatMessageA(flags, nullptr, error, 0, text, sizeof(text), nullptr) != 0) {
        DBPrintf("Conversion to 8-bit text failed: %s\n", text);
    }
}

} // namespace

QVCharCode GetSystemCharCode() noexcept
{
    return CHGetCharCode(GetACP());
}

QVCharCode GetUserCharCode() noexcept
{
    DWORD page = 0;
    GetLocaleInfoW(GetUserDefaultLCID(), LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                   reinterpret_cast<LPWSTR>(&page), sizeof(page) / sizeof(WCHAR));
    return CHGetCharCode(page);
}

int DecodeCodePage(UInt32 page, const char* text, int length, UInt16* result, int resultLength) noexcept
{
    // The system answers by the same table, with more ado than a short text is worth.
    if (const UInt16* const table = FindSingleByteTable(page)) {
        return DecodeSingleBytes(table, text, length, result, resultLength);
    }
    return MultiByteToWideChar(page, 0, text, length, reinterpret_cast<WCHAR*>(result), resultLength);
}

int EncodeCodePage(UInt32 page, const UInt16* text, int length, char* result, int resultLength,
                   bool lossy) noexcept
{
    const DWORD flags = lossy || page == symbolPage ? 0 : WC_NO_BEST_FIT_CHARS;
    BOOL usedDefault = FALSE;
    const int written = WideCharToMultiByte(page, flags, reinterpret_cast<const WCHAR*>(text), length, result,
                                            resultLength, nullptr, lossy ? nullptr : &usedDefault);
    if (written == 0) {
        DescribeFailure(GetLastError());
    }
    return usedDefault ? 0 : written;
}

} // namespace QV::Impl
