#include <QVRoot/BasicEnvironment/CalendarImpl.hpp>
#include <QVRoot/BasicEnvironment/ZoneDataPosixImpl.hpp>

#include <limits>
#include <string_view>

namespace QV::Impl {

namespace {

/// A big-endian number of n bytes, signed.
Int64 GetNumber(const char* bytes, UInt32 n) noexcept
{
    UInt64 value = 0;
    for (UInt32 i = 0; i < n; ++i) {
        value = value << 8 | static_cast<UInt8>(bytes[i]);
    }
    return static_cast<Int64>(value << (64 - 8 * n)) >> (64 - 8 * n);
}

/// A header and the data that belong to it: the changes' times, their types, the types, names, leap seconds,
/// and two sets of flags.
class ZoneBlock {
public:
    /// Takes a block off the front; false when the bytes do not hold one. Times have 4 or 8 bytes.
    bool Take(std::string_view& bytes, UInt32 timeSize) noexcept
    {
        if (bytes.size() < headerSize || !bytes.starts_with("TZif")) {
            return false;
        }
        version_ = bytes[4];
        UInt64 counts[6];
        for (UInt32 i = 0; i < 6; ++i) {
            counts[i] = static_cast<UInt32>(GetNumber(bytes.data() + 20 + 4 * i, 4));
        }
        const auto [utcFlags, standardFlags, leaps, times, types, names] = counts;
        const UInt64 size = headerSize + times * (timeSize + 1) + types * typeSize + names +
                            leaps * (timeSize + 4) + standardFlags + utcFlags;
        if (size > bytes.size()) {
            return false;
        }
        timeSize_ = timeSize;
        times_ = times;
        types_ = types;
        leaps_ = leaps;
        data_ = bytes.data() + headerSize;
        bytes.remove_prefix(size);
        return true;
    }

    bool HasLongForm() const noexcept { return version_ != 0; }

    bool Fill(ZoneTable& table) const noexcept
    {
        if (leaps_ != 0 || types_ == 0) {
            return false;
        }
        table = ZoneTable(GetOffset(0), IsDaylight(0));
        bool sound = IsPossible(GetOffset(0));
        Int64 before = 0;
        for (UInt64 i = 0; i < times_ && sound; ++i) {
            const Int64 time = GetNumber(data_ + i * timeSize_, timeSize_);
            const auto type = static_cast<UInt8>(data_[times_ * timeSize_ + i]);
            sound = type < types_ && (i == 0 || time > before) &&
                    table.Append(time, GetOffset(type), IsDaylight(type));
            before = time;
        }
        return sound;
    }

private:
    static constexpr USize headerSize = 44;
    static constexpr USize typeSize = 6;

    static bool IsPossible(Int32 offset) noexcept
    {
        return offset > -ZoneTable::OffsetLimit && offset < ZoneTable::OffsetLimit;
    }

    const char* GetType(UInt64 type) const noexcept
    {
        return data_ + times_ * (timeSize_ + 1) + type * typeSize;
    }
    Int32 GetOffset(UInt64 type) const noexcept { return static_cast<Int32>(GetNumber(GetType(type), 4)); }
    bool IsDaylight(UInt64 type) const noexcept { return GetType(type)[4] != 0; }

    const char* data_ = nullptr;
    UInt64 times_ = 0;
    UInt64 types_ = 0;
    UInt64 leaps_ = 0;
    UInt32 timeSize_ = 0;
    char version_ = 0;
};

/// The rules that hold behind the last change: a text between line feeds, empty when there are none.
bool AppendRules(std::string_view footer, ZoneTable& table) noexcept
{
    if (footer.size() < 2 || footer.front() != '\n') {
        return false;
    }
    footer.remove_prefix(1);
    const USize length = footer.find('\n');
    if (length == std::string_view::npos) {
        return false;
    }
    YearlyRules rules;
    if (length == 0) {
        return true;
    }
    if (!ParseZoneText(footer.data(), footer.data() + length, rules)) {
        return false;
    }
    const bool hasChanges = table.GetLastStart() > std::numeric_limits<Int32>::min();
    bool sound = true;
    for (UInt32 year = hasChanges ? MakeRecord(table.GetLastStart()).year : firstZoneYear;
         year <= lastZoneYear && sound; ++year) {
        sound = rules.AppendYear(year, false, table);
    }
    return sound;
}

} // namespace

bool ParseZoneFile(const char* bytes, USize n, ZoneTable& table) noexcept
{
    std::string_view rest(bytes, n);
    ZoneBlock block;
    if (!block.Take(rest, 4)) {
        return false;
    }
    if (!block.HasLongForm()) {
        return block.Fill(table);
    }
    return block.Take(rest, 8) && block.Fill(table) && AppendRules(rest, table);
}

} // namespace QV::Impl
