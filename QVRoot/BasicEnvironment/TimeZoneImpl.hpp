/// The rules of a time zone over the whole range of the library's time, and the zone of this computer.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// The minutes to add to local time for UTC: `bias` and, by season, one of the others.
struct ZoneBias {
    Int32 bias;
    Int32 standardBias;
    Int32 daylightBias;
};

/// A zone as spans of time that have one offset each. Built once, then constant.
class ZoneTable {
public:
    /// Offsets are seconds east of UTC, less than 26 hours.
    static constexpr Int32 OffsetLimit = 26 * 3600;

    /// A zone with one offset. `MakeIndex` is still to be called.
    explicit ZoneTable(Int32 offset = 0, bool isDaylight = false) noexcept;

    /// Continues with another offset from a time on, which must not lie before the last one's start. False
    /// when it does, when the offset is too large, or when there are too many spans.
    bool Append(Int64 start, Int32 offset, bool isDaylight) noexcept;
    /// To be called when all spans are there.
    void MakeIndex() noexcept;

    Int32 GetOffset(Int64 utc) const noexcept { return spans_[FindSpan(utc)].offset; }
    /// The offset that a local time has: the larger one for a time that there is twice, and for one that is
    /// skipped that of the time behind the gap.
    Int32 GetOffsetOfLocal(Int64 local) const noexcept;
    bool IsDaylight(Int64 utc) const noexcept { return spans_[FindSpan(utc)].isDaylight; }
    Int32 GetLastOffset() const noexcept { return spans_[count_ - 1].offset; }
    Int64 GetLastStart() const noexcept { return spans_[count_ - 1].start; }

    /// The current standard offset, and the difference to daylight time if the current year has it.
    ZoneBias GetBias(Int64 now) const noexcept;

private:
    struct Span {
        Int64 start;      ///< in UTC
        Int64 localStart; ///< the same by the offset that ends here
        Int32 offset;
        bool isDaylight;
    };

    static constexpr UInt32 maxSpans = 400;
    // The index has an entry for every 194 days of the 32-bit range.
    static constexpr UInt32 indexShift = 24;
    static constexpr UInt32 indexSize = 256;

    UInt32 FindSpan(Int64 utc) const noexcept;
    UInt32 LookUp(Int64 utc) const noexcept;

    UInt32 count_;
    UInt16 index_[indexSize];
    Span spans_[maxSpans];
};

/// A change between standard and daylight time that comes back every year.
struct YearlyChange {
    enum Kind : UInt8 {
        Weekday,       ///< the nth `weekday` of `month`; from the fifth on, the last
        DayOfMonth,    ///< `day` of `month`
        DayOfYear,     ///< `day`, from 0
        DayButLeapDay, ///< `day`, from 1, in a year without 29 February
    };

    /// Local seconds since 1970.
    Int64 GetTime(UInt32 year) const noexcept;

    Kind kind;
    UInt8 month;
    UInt8 nth;
    UInt8 weekday; ///< 0 is Sunday
    Int32 day;
    Int32 time; ///< seconds since midnight; may be negative or go beyond the day
};

/// Standard and daylight time with their changes, all in local time as it is before the change.
struct YearlyRules {
    /// Appends the changes of a year to a table. Where `fromNewYear` is set, the rules hold from the year's
    /// first local second on; without, only from their first change on that the table does not have yet.
    bool AppendYear(UInt32 year, bool fromNewYear, ZoneTable& table) const noexcept;

    Int32 standardOffset;
    Int32 daylightOffset;
    bool hasDaylight;
    YearlyChange toDaylight;
    YearlyChange toStandard;
};

/// The years that the library's time touches.
inline constexpr UInt32 firstZoneYear = 1901;
inline constexpr UInt32 lastZoneYear = 2038;

/// Where the rules of this computer's zone come from, as bytes that are equal for the same rules. All else
/// about it is the platform's.
struct ZoneSource {
    alignas(8) char identity[640];
};

void GetZoneSource(ZoneSource& source) noexcept;
/// False when there is no information about the zone.
bool LoadZone(const ZoneSource& source, ZoneTable& table) noexcept;
/// The biases that the system states for the zone. `zone` is the current one, null without information.
bool GetZoneBias(const ZoneTable* zone, ZoneBias& bias) noexcept;

/// The current zone, null when there is no information about it. It serves for ever.
const ZoneTable* GetCurrentZone() noexcept;

/// For tests: takes a zone for the current one until null is set.
void OverrideCurrentZone(const ZoneTable* zone) noexcept;

} // namespace QV::Impl
