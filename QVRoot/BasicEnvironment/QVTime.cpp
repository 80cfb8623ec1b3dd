#include <QVRoot/BasicEnvironment/CalendarImpl.hpp>
#include <QVRoot/BasicEnvironment/ClockImpl.hpp>
#include <QVRoot/BasicEnvironment/QVTimeImpl.hpp>
#include <QVRoot/BasicEnvironment/TimeZoneImpl.hpp>

#include <algorithm>
#include <limits>

namespace QV {

namespace {

constexpr Int64 firstTime = std::numeric_limits<int>::min();
constexpr Int64 lastTime = std::numeric_limits<int>::max();

short StoreRecordTime(Int64 seconds, int* time) noexcept
{
    if (seconds < 0 || seconds > lastTime) {
        return ErrTimeConversion;
    }
    *time = static_cast<int>(seconds);
    return NoError;
}

/// What the 1904 form adds to the library's time.
bool GetMacOffset(Int64& offset) noexcept
{
    Impl::ZoneBias bias;
    if (!Impl::GetZoneBias(Impl::GetCurrentZone(), bias)) {
        return false;
    }
    offset = 2082844799 - (Int64{bias.bias} + bias.standardBias) * 60 - Int64{bias.daylightBias} * 60;
    return true;
}

} // namespace

bool Impl::GetRecord(Int64 time, bool utc, QVTimeRecord& record) noexcept
{
    Int32 offset = 0;
    if (!utc) {
        const ZoneTable* const zone = GetCurrentZone();
        if (zone == nullptr) {
            return false;
        }
        offset = zone->GetOffset(time);
    }
    record = MakeRecord(time + offset);
    return true;
}

int TIGetTime() noexcept
{
    return static_cast<int>(std::clamp(Impl::GetCurrentSeconds(), firstTime, lastTime));
}

int TIGetWinTime() noexcept
{
    return TIGetTime();
}

short TIQV2WinTime(int time, int* winTime) noexcept
{
    if (winTime == nullptr) {
        return ErrParam;
    }
    *winTime = time;
    return NoError;
}

short TIWin2QVTime(int winTime, int* time) noexcept
{
    return TIQV2WinTime(winTime, time);
}

short TIGetQVTime(const QVTimeRecord* record, int* time, unsigned int flags) noexcept
{
    if (time == nullptr) {
        return ErrParam;
    }
    if ((flags & TIUseCurrentTime) != 0) {
        return StoreRecordTime(Impl::GetCurrentSeconds(), time);
    }
    if (record == nullptr) {
        return ErrParam;
    }
    if (!Impl::IsSound(*record)) {
        return ErrTimeConversion;
    }
    const Int64 seconds = Impl::GetSeconds(*record);
    if ((flags & TITimeInUTC) != 0) {
        return StoreRecordTime(seconds, time);
    }
    const Impl::ZoneTable* const zone = Impl::GetCurrentZone();
    return zone == nullptr ? short{ErrTimeConversion}
                           : StoreRecordTime(seconds - zone->GetOffsetOfLocal(seconds), time);
}

short TIGetTimeRecord(int time, QVTimeRecord* record, unsigned int flags) noexcept
{
    if (record == nullptr) {
        return ErrParam;
    }
    *record = {};
    Int64 seconds = time;
    UInt16 milliseconds = 0;
    if ((flags & TIUseCurrentTime) != 0) {
        const Int64 now = Impl::GetCurrentMilliseconds();
        seconds = now / 1000;
        milliseconds = static_cast<UInt16>(now % 1000);
    }
    if (!Impl::GetRecord(seconds, (flags & TITimeInUTC) != 0, *record)) {
        return ErrTimeConversion;
    }
    record->millisecond = milliseconds;
    return NoError;
}

unsigned int TIGetMacTime() noexcept
{
    unsigned int macTime = 0;
    TIQV2MacTime(TIGetTime(), &macTime);
    return macTime;
}

short TIQV2MacTime(int time, unsigned int* macTime) noexcept
{
    if (macTime == nullptr) {
        return ErrParam;
    }
    Int64 offset = 0;
    if (!GetMacOffset(offset)) {
        return ErrTimeConversion;
    }
    const Int64 result = time + offset;
    if (result < 0 || result > std::numeric_limits<unsigned int>::max()) {
        return ErrTimeConversion;
    }
    *macTime = static_cast<unsigned int>(result);
    return NoError;
}

short TIMac2QVTime(unsigned int macTime, int* time) noexcept
{
    if (time == nullptr) {
        return ErrParam;
    }
    Int64 offset = 0;
    if (!GetMacOffset(offset)) {
        return ErrTimeConversion;
    }
    const Int64 result = macTime - offset;
    if (result < firstTime || result > lastTime) {
        return ErrTimeConversion;
    }
    *time = static_cast<int>(result);
    return NoError;
}

} // namespace QV
