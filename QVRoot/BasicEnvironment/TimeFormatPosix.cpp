#include <QVRoot/BasicEnvironment/CalendarImpl.hpp>
#include <QVRoot/BasicEnvironment/QVTimeImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <unicode/ucal.h>
#include <unicode/udat.h>
#include <unicode/udatpg.h>
#include <unicode/uloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

namespace QV::Impl {

namespace {

/// What a text shows, by the letters of its fields. Their order and all else come from the locale.
enum Form { ShortDate, LongDate, Time, TimeWithoutSeconds, Time24, Time24WithoutSeconds, formCount };

constexpr const char16_t* skeletons[formCount] = {u"yMd", u"yMMMMEEEEd", u"jms", u"jm", u"Hms", u"Hm"};

int32_t GetLength(const char16_t* text) noexcept
{
    return static_cast<int32_t>(std::char_traits<char16_t>::length(text));
}

/// The locale for dates as the environment names it. The C library's own locale has none, and stands for the
/// one that a Windows without a choice has.
void GetDateLocale(char (&locale)[ULOC_FULLNAME_CAPACITY])
{
    std::strcpy(locale, "en_US");
    for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* const name = std::getenv(variable);
        if (name == nullptr || *name == 0) {
            continue;
        }
        const bool plain = std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0 ||
                           std::strncmp(name, "C.", 2) == 0;
        UErrorCode error = U_ZERO_ERROR;
        if (!plain && (uloc_canonicalize(name, locale, ULOC_FULLNAME_CAPACITY, &error) <= 0 ||
                       U_FAILURE(error) || error == U_STRING_NOT_TERMINATED_WARNING)) {
            std::strcpy(locale, "en_US");
        }
        return;
    }
}

UDateFormat* OpenFormat(Form form)
{
    char locale[ULOC_FULLNAME_CAPACITY];
    GetDateLocale(locale);
    UErrorCode error = U_ZERO_ERROR;
    UDateTimePatternGenerator* const generator = udatpg_open(locale, &error);
    UChar pattern[128];
    const int32_t length = udatpg_getBestPattern(generator, skeletons[form], GetLength(skeletons[form]),
                                                 pattern, std::size(pattern), &error);
    udatpg_close(generator);
    UDateFormat* const format =
        udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, u"UTC", 3, pattern, length, &error);
    return U_FAILURE(error) ? nullptr : format;
}

/// Opened on first use and kept, since opening is slow; never closed, since texts may be made until the
/// process ends. Formatting changes a format's state, so that one thread at a time may do it.
constinit UDateFormat* formats[formCount] = {};
constinit CriticalSection section;

/// Between a time and its half of the day ICU puts a narrow space, which no code page has.
void WidenSpaces(UInt16* text, int length) noexcept
{
    std::replace(text, text + length, UInt16{0x202F}, UInt16{' '});
}

int FormatRecord(const QVTimeRecord& record, Form form, UInt16* text, int room) noexcept
{
    const CriticalSectionGuard guard(section);
    if (formats[form] == nullptr) {
        formats[form] = OpenFormat(form);
        if (formats[form] == nullptr) {
            return -1;
        }
    }
    UErrorCode error = U_ZERO_ERROR;
    const double milliseconds = static_cast<double>(GetSeconds(record)) * 1000;
    const int32_t length =
        udat_format(formats[form], milliseconds, reinterpret_cast<UChar*>(text), room, nullptr, &error);
    if (U_FAILURE(error)) {
        return -1;
    }
    WidenSpaces(text, length);
    return length;
}

} // namespace

int FormatDate(const QVTimeRecord& record, DateStyle style, UInt16* text, int room) noexcept
{
    return FormatRecord(record, style == DateStyle::Long ? LongDate : ShortDate, text, room);
}

int FormatTime(const QVTimeRecord& record, bool withSeconds, bool force24Hours, UInt16* text,
               int room) noexcept
{
    const Form form = force24Hours ? (withSeconds ? Time24 : Time24WithoutSeconds)
                                   : (withSeconds ? Time : TimeWithoutSeconds);
    return FormatRecord(record, form, text, room);
}

} // namespace QV::Impl
