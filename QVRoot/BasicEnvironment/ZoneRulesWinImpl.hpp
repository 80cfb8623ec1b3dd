/// The rules of a zone as this platform states them for one year.
#pragma once

#include <QVRoot/BasicEnvironment/TimeZoneImpl.hpp>

#include <windows.h>

namespace QV::Impl {

YearlyRules MakeYearlyRules(const TIME_ZONE_INFORMATION& zone) noexcept;

} // namespace QV::Impl
