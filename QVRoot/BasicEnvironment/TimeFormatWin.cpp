#include <QVRoot/BasicEnvironment/QVTimeImpl.hpp>

#include <windows.h>

#include <cstring>

namespace QV::Impl {

namespace {

SYSTEMTIME ToSystemTime(const QVTimeRecord& record) noexcept
{
    static_assert(sizeof(SYSTEMTIME) == sizeof(QVTimeRecord));
    SYSTEMTIME time;
    std::memcpy(&time, &record, sizeof(time));
    return time;
}

/// The system counts the terminator.
int GetWritten(int count) noexcept
{
    return count - 1;
}

} // namespace

int FormatDate(const QVTimeRecord& record, DateStyle style, UInt16* text, int room) noexcept
{
    const SYSTEMTIME time = ToSystemTime(record);
    const DWORD flags = style == DateStyle::Short  ? DATE_SHORTDATE
                        : style == DateStyle::Long ? DATE_LONGDATE
                                                   : 0;
    return GetWritten(
        GetDateFormatW(LOCALE_USER_DEFAULT, flags, &time, nullptr, reinterpret_cast<WCHAR*>(text), room));
}

int FormatTime(const QVTimeRecord& record, bool withSeconds, bool force24Hours, UInt16* text,
               int room) noexcept
{
    const SYSTEMTIME time = ToSystemTime(record);
    const DWORD flags = (withSeconds ? 0 : TIME_NOSECONDS) | (force24Hours ? TIME_FORCE24HOURFORMAT : 0);
    return GetWritten(
        GetTimeFormatW(LOCALE_USER_DEFAULT, flags, &time, nullptr, reinterpret_cast<WCHAR*>(text), room));
}

} // namespace QV::Impl
