#include <QVRoot/BasicEnvironment/ClockImpl.hpp>
#include <QVRoot/BasicEnvironment/TimeZoneImpl.hpp>

#include <atomic>
#include <cstring>
#include <new>

namespace QV::Impl {

namespace {

/// Zones that were current once are kept: somebody may be looking at them, and they may come back.
struct Zone {
    ZoneSource source;
    ZoneTable table;
    bool isAvailable;
    const Zone* next;
};

constinit std::atomic<const Zone*> zones = nullptr;
constinit std::atomic<const Zone*> currentZone = nullptr;
constinit std::atomic<const ZoneTable*> overridingZone = nullptr;
/// When the source was last looked at.
constinit std::atomic<Int64> checkedMinute = 0;

const Zone* FindZone(const ZoneSource& source) noexcept
{
    const Zone* zone = zones.load(std::memory_order_acquire);
    while (zone != nullptr && std::memcmp(&zone->source, &source, sizeof(source)) != 0) {
        zone = zone->next;
    }
    return zone;
}

const Zone* AddZone(const ZoneSource& source) noexcept
{
    Zone* const zone = new (std::nothrow) Zone{source, ZoneTable(), false, nullptr};
    if (zone == nullptr) {
        return nullptr;
    }
    zone->isAvailable = LoadZone(source, zone->table);
    zone->table.MakeIndex();
    const Zone* first = zones.load(std::memory_order_relaxed);
    do {
        zone->next = first;
    } while (!zones.compare_exchange_weak(first, zone, std::memory_order_release));
    return zone;
}

/// Without a lock, which a fork might leave behind locked: threads that meet here do the same work twice.
const Zone* UpdateZone() noexcept
{
    ZoneSource source;
    GetZoneSource(source);
    const Zone* zone = FindZone(source);
    if (zone == nullptr) {
        zone = AddZone(source);
    }
    if (zone != nullptr) {
        currentZone.store(zone, std::memory_order_release);
    }
    return zone;
}

const Zone* GetZone() noexcept
{
    const Int64 minute = GetCurrentSeconds() / 60;
    const Zone* const zone = currentZone.load(std::memory_order_acquire);
    if (zone != nullptr && checkedMinute.load(std::memory_order_relaxed) == minute) [[likely]] {
        return zone;
    }
    if (checkedMinute.exchange(minute, std::memory_order_relaxed) == minute && zone != nullptr) {
        return zone;
    }
    const Zone* const updated = UpdateZone();
    return updated != nullptr ? updated : zone;
}

} // namespace

const ZoneTable* GetCurrentZone() noexcept
{
    if (const ZoneTable* const zone = overridingZone.load(std::memory_order_acquire)) [[unlikely]] {
        return zone;
    }
    const Zone* const zone = GetZone();
    return zone != nullptr && zone->isAvailable ? &zone->table : nullptr;
}

void OverrideCurrentZone(const ZoneTable* zone) noexcept
{
    overridingZone.store(zone, std::memory_order_release);
}

} // namespace QV::Impl
