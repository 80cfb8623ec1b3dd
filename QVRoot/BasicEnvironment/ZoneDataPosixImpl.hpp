/// The two forms in which this platform keeps the rules of a zone.
#pragma once

#include <QVRoot/BasicEnvironment/TimeZoneImpl.hpp>

namespace QV::Impl {

/// The content of a compiled zone file. False when it is damaged, counts leap seconds, or has more changes
/// than a table holds. The table's index is still to be made.
bool ParseZoneFile(const char* bytes, USize n, ZoneTable& table) noexcept;

/// Rules as the variable TZ has them, "CET-1CEST,M3.5.0,M10.5.0/3", up to `end`. False when they are
/// malformed.
bool ParseZoneText(const char* text, const char* end, YearlyRules& rules) noexcept;

/// The source for a value of TZ, null when it is not set.
void DescribeZoneSource(const char* zone, ZoneSource& source) noexcept;

} // namespace QV::Impl
