// Rules of time zones: hostile zone files and hostile values of TZ.
#include <QVRoot/BasicEnvironment/ZoneDataPosixImpl.hpp>

#include <cstdint>
#include <cstdlib>
#include <memory>

using namespace QV;
using namespace QV::Impl;

namespace {

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Every time has a sound offset, and a local time comes back from UTC unless it is in a gap.
void Use(ZoneTable& table)
{
    table.MakeIndex();
    for (Int64 time = -0x80000000ll; time < 0x80000000ll; time += 0x00FEDCBA) {
        const Int32 offset = table.GetOffset(time);
        Require(std::abs(offset) < ZoneTable::OffsetLimit);
        Require(std::abs(table.GetOffsetOfLocal(time + offset)) < ZoneTable::OffsetLimit);
        table.GetBias(time);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const char* const bytes = reinterpret_cast<const char*>(data);
    const auto table = std::make_unique<ZoneTable>();
    if (ParseZoneFile(bytes, size, *table)) {
        Use(*table);
    }
    YearlyRules rules;
    if (ParseZoneText(bytes, bytes + size, rules)) {
        *table = ZoneTable(rules.standardOffset);
        for (UInt32 year = firstZoneYear; year <= lastZoneYear; ++year) {
            rules.AppendYear(year, true, *table);
        }
        Use(*table);
    }
    return 0;
}
