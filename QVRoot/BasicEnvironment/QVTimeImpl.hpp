/// What the time functions share.
#pragma once

#include <QVRoot/BasicEnvironment/QVTime.hpp>

namespace QV::Impl {

/// The record of a time; false without information about the zone.
bool GetRecord(Int64 time, bool utc, QVTimeRecord& record) noexcept;

/// Characters of an ISO 8601 text.
inline constexpr UInt32 isoTextLength = 19;

/// Writes "yyyy-MM-ddTHH:mm:ss" without a terminator.
void PrintIsoText(const QVTimeRecord& record, char* text) noexcept;

enum class DateStyle { LocaleDefault, Short, Long };

/// A record in the formats of the user's locale. Writes at most `room` units without a terminator and answers
/// how many; negative on failure. The record must be one of the calendar.
int FormatDate(const QVTimeRecord& record, DateStyle style, UInt16* text, int room) noexcept;
int FormatTime(const QVTimeRecord& record, bool withSeconds, bool force24Hours, UInt16* text,
               int room) noexcept;

} // namespace QV::Impl
