/// The library's time, its conversions to and from broken-down records, and its text forms.
///
///     int now = TIGetTime();
///     QVTimeRecord record;
///     if (const short error = TIGetTimeRecord(now, &record, TITimeInUTC)) …
///     char text[TITimeTextSize];
///     TIGetISO8601TimeString(now, text, sizeof(text), true);       // "2026-11-21T19:45:52"
///
/// A time is a signed 32-bit count of seconds since 1970-01-01 00:00:00 UTC; it ends on 2038-01-19 at
/// 03:14:07.
///
/// Local time follows the rules that the current zone had, has or will have at the time that is converted. Of
/// the two moments with the same local time, when clocks are set back, the first is meant. A local time that
/// is skipped, when they are set forward, is taken as if they had been set already. The zone is looked at
/// again once a minute: on Windows as the user has chosen it, on Linux the environment variable TZ, else
/// /etc/localtime, else UTC. A TZ that names no zone leaves no information about one.
///
/// Threads: everything may be called from any thread. Errors: 16-bit results; the text forms as described.
/// Allocation: the strings, and the rules of a zone when it is first used; they are kept.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>

namespace QV {

class UniString;

/// A broken-down time, in the layout of the Windows type SYSTEMTIME.
struct QVTimeRecord {
    UInt16 year;
    UInt16 month;     ///< 1 to 12
    UInt16 dayOfWeek; ///< 0 is Sunday; computed, never looked at
    UInt16 day;       ///< of the month, from 1
    UInt16 hour;
    UInt16 minute;
    UInt16 second;
    UInt16 millisecond;
};

static_assert(sizeof(QVTimeRecord) == 16);

/// How a record is converted.
enum TIRecordFlags : UInt32 {
    TITimeInUTC = 1,      ///< the record is in UTC rather than local time
    TIUseCurrentTime = 2, ///< the current time is taken instead of the given value
};

/// How `TIGetTimeString` writes a time.
enum TITextFlags : UInt32 {
    TITextInUTC = 0x1,
    TITextShortDate = 0x10,
    TITextLongDate = 0x20,
    TITextOmitDate = 0x80,
    TITextNoSeconds = 0x100,
    TITextForce24Hours = 0x200,
    TITextOmitTime = 0x800,
};

/// Bytes that hold every ISO 8601 text and what stands for a time that has none, with the terminator.
inline constexpr UInt32 TITimeTextSize = 20;

/// @name The current time
/// Both are the same clock. After the end of the 32-bit range they stay at its last second.
/// @{
QV_EXPORT int TIGetTime() noexcept;
QV_EXPORT int TIGetWinTime() noexcept;
/// @}

/// @name Records
/// 0; `ErrParam` for a null pointer; `ErrTimeConversion` for a record that is no date or time of the calendar
/// (the day of the week is not looked at), one before 1970 or after the end of the range, and for local time
/// when there is no information about the zone.
/// @{
/// Parts of a second are dropped. On failure the result stays as it was.
QV_EXPORT short TIGetQVTime(const QVTimeRecord* record, int* time, unsigned int flags) noexcept;
/// Negative times are converted, too. The current time has milliseconds. On failure the record is all zero.
QV_EXPORT short TIGetTimeRecord(int time, QVTimeRecord* record, unsigned int flags) noexcept;
/// @}

/// @name Other forms of the time
/// 0, or `ErrParam` for a null pointer.
/// @{
/// The library's time is the Windows form: both are the identity.
QV_EXPORT short TIQV2WinTime(int time, int* winTime) noexcept;
QV_EXPORT short TIWin2QVTime(int winTime, int* time) noexcept;

/// The form of the old Mac system: local seconds since 1904, unsigned, with the standard and the daylight
/// bias of the current zone subtracted at all seasons, and one second less than the span from 1904 to 1970
/// added. `ErrTimeConversion` when the result does not fit or when there is no information about the zone;
/// the result stays as it was. `TIGetMacTime` then answers 0.
QV_EXPORT unsigned int TIGetMacTime() noexcept;
QV_EXPORT short TIQV2MacTime(int time, unsigned int* macTime) noexcept;
QV_EXPORT short TIMac2QVTime(unsigned int macTime, int* time) noexcept;
/// @}

/// @name Text
/// A time that cannot be converted, for lack of information about the zone, throws `PreconditionException`.
/// The forms with a buffer write "**** ???? ****" instead. They return the length without the terminator; 0
/// for a null buffer, and for one whose size is given and too small, which is then an empty text. Without a
/// size the buffer must be large enough.
/// @{
/// "yyyy-MM-ddTHH:mm:ss".
QV_EXPORT UniString TIGetISO8601TimeString(int time, bool utc);
QV_EXPORT int TIGetISO8601TimeString(int time, char* buffer, bool utc);
QV_EXPORT int TIGetISO8601TimeString(int time, char* buffer, UInt32 size, bool utc);

/// Date and time in the user's formats, see `TITextFlags`, with a space between. A buffer gets the text in
/// the default code page.
QV_EXPORT UniString TIGetTimeString(int time, unsigned int flags);
QV_EXPORT int TIGetTimeString(int time, char* buffer, unsigned int flags);
QV_EXPORT int TIGetTimeString(int time, char* buffer, UInt32 size, unsigned int flags);
/// @}

} // namespace QV
