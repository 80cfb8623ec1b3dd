#include <QVRoot/String/CodePagePosixImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <langinfo.h>
#include <locale.h>

namespace QV::Impl {

namespace {

struct PageOfCodeset {
    const char* codeset; ///< upper-case letters and digits only
    UInt32 page;
};

/// Codesets and the Windows page for the same script.
constexpr PageOfCodeset pagesOfCodesets[] = {
    {"UTF8", utf8Page}, {"ISO88592", 1250},  {"ISO885916", 1250}, {"CP1250", 1250},   {"ISO88595", 1251},
    {"CP1251", 1251},   {"KOI8R", 1251},     {"KOI8U", 1251},     {"ISO88597", 1253}, {"CP1253", 1253},
    {"ISO88599", 1254}, {"CP1254", 1254},    {"ISO88598", 1255},  {"CP1255", 1255},   {"ISO88596", 1256},
    {"CP1256", 1256},   {"ISO885913", 1257}, {"ISO88594", 1257},  {"CP1257", 1257},   {"TIS620", 874},
    {"ISO885911", 874}, {"CP874", 874},      {"SHIFTJIS", 932},   {"SJIS", 932},      {"CP932", 932},
    {"EUCJP", 932},     {"GB2312", 936},     {"GBK", 936},        {"CP936", 936},     {"GB18030", 936},
    {"EUCKR", 949},     {"CP949", 949},      {"UHC", 949},        {"BIG5", 950},      {"BIG5HKSCS", 950},
};

UInt32 GetPageOfCodeset(const char* codeset)
{
    char name[16] = {};
    for (USize length = 0; *codeset != 0 && *codeset != '@' && length < sizeof(name) - 1; ++codeset) {
        if (std::isalnum(static_cast<unsigned char>(*codeset))) {
            name[length++] = static_cast<char>(std::toupper(static_cast<unsigned char>(*codeset)));
        }
    }
    for (const PageOfCodeset& entry : pagesOfCodesets) {
        if (std::strcmp(entry.codeset, name) == 0) {
            return entry.page;
        }
    }
    return 1252;
}

/// What the environment says of a locale that is not installed.
UInt32 GetPageOfEnvironment()
{
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* const name = std::getenv(variable);
        if (name != nullptr && *name != 0) {
            const char* const codeset = std::strchr(name, '.');
            return codeset == nullptr ? 1252 : GetPageOfCodeset(codeset + 1);
        }
    }
    return 1252;
}

UInt32 DetermineSystemPage()
{
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return GetPageOfEnvironment();
    }
    const UInt32 page = GetPageOfCodeset(nl_langinfo_l(CODESET, locale));
    freelocale(locale);
    return page;
}

} // namespace

UInt32 GetSystemPage() noexcept
{
    static constinit std::atomic<UInt32> cached = 0;
    UInt32 page = cached.load(std::memory_order_relaxed);
    if (page == 0) {
        page = DetermineSystemPage();
        cached.store(page, std::memory_order_relaxed);
    }
    return page;
}

QVCharCode GetSystemCharCode() noexcept
{
    // UTF-8 is not in the table of pages; "the system's own" would pass for a single-byte page.
    const UInt32 page = GetSystemPage();
    return page == utf8Page ? UTF8CharCode : CHGetCharCode(page);
}

QVCharCode GetUserCharCode() noexcept
{
    return GetSystemCharCode();
}

} // namespace QV::Impl
