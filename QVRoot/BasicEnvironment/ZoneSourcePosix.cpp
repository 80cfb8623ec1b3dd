#include <QVRoot/BasicEnvironment/ClockImpl.hpp>
#include <QVRoot/BasicEnvironment/ZoneDataPosixImpl.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace QV::Impl {

namespace {

enum class SourceKind { None, Utc, Text, File };

struct PosixSource {
    SourceKind kind;
    char name[512]; ///< the text, or the file's path
    UInt64 device;
    UInt64 node;
    Int64 size;
    Int64 seconds; ///< when the file was changed
    Int64 nanoseconds;
};

static_assert(sizeof(PosixSource) <= sizeof(ZoneSource));

bool DescribeFile(const char* path, PosixSource& source) noexcept
{
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    source.kind = SourceKind::File;
    std::snprintf(source.name, sizeof(source.name), "%s", path);
    source.device = status.st_dev;
    source.node = status.st_ino;
    source.size = status.st_size;
    source.seconds = status.st_mtim.tv_sec;
    source.nanoseconds = status.st_mtim.tv_nsec;
    return true;
}

bool DescribeZone(const char* zone, PosixSource& source) noexcept
{
    const char* folder = secure_getenv("TZDIR");
    if (folder == nullptr || *folder == 0) {
        folder = "/usr/share/zoneinfo";
    }
    char path[sizeof(source.name)];
    const int length = *zone == '/' ? std::snprintf(path, sizeof(path), "%s", zone)
                                    : std::snprintf(path, sizeof(path), "%s/%s", folder, zone);
    return length > 0 && static_cast<USize>(length) < sizeof(path) && DescribeFile(path, source);
}

bool IsUtc(const char* zone) noexcept
{
    return *zone == 0 || std::strcmp(zone, "UTC") == 0 || std::strcmp(zone, "GMT") == 0;
}

/// As the C library reads TZ: a file, with or without a colon before it, or rules.
void Describe(const char* zone, PosixSource& source) noexcept
{
    if (zone == nullptr) {
        if (!DescribeFile("/etc/localtime", source)) {
            source.kind = SourceKind::Utc;
        }
        return;
    }
    zone += *zone == ':';
    if (IsUtc(zone)) {
        source.kind = SourceKind::Utc;
    } else if (!DescribeZone(zone, source) && std::strlen(zone) < sizeof(source.name)) {
        source.kind = SourceKind::Text;
        std::strcpy(source.name, zone);
    }
}

class File {
public:
    explicit File(const char* path) noexcept : descriptor_(open(path, O_RDONLY | O_CLOEXEC)) {}
    ~File()
    {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool ReadAll(char* dest, USize n) const noexcept
    {
        while (n > 0) {
            const ssize_t got = read(descriptor_, dest, n);
            if (got > 0) {
                dest += got;
                n -= static_cast<USize>(got);
            } else if (got == 0 || errno != EINTR) {
                return false;
            }
        }
        return true;
    }

private:
    int descriptor_;
};

bool LoadFile(const PosixSource& source, ZoneTable& table) noexcept
{
    constexpr Int64 mostBytes = 1 << 20;
    if (source.size > mostBytes) {
        return false;
    }
    const auto size = static_cast<USize>(source.size);
    const std::unique_ptr<char[]> bytes(new (std::nothrow) char[size]);
    return bytes != nullptr && File(source.name).ReadAll(bytes.get(), size) &&
           ParseZoneFile(bytes.get(), size, table);
}

bool LoadText(const char* text, ZoneTable& table) noexcept
{
    YearlyRules rules;
    if (!ParseZoneText(text, text + std::strlen(text), rules)) {
        return false;
    }
    table = ZoneTable(rules.standardOffset);
    bool sound = true;
    for (UInt32 year = firstZoneYear; year <= lastZoneYear && sound; ++year) {
        sound = rules.AppendYear(year, true, table);
    }
    return sound;
}

} // namespace

void DescribeZoneSource(const char* zone, ZoneSource& result) noexcept
{
    const int lastError = errno;
    PosixSource source;
    std::memset(static_cast<void*>(&source), 0, sizeof(source));
    Describe(zone, source);
    std::memset(&result, 0, sizeof(result));
    std::memcpy(result.identity, &source, sizeof(source));
    errno = lastError;
}

void GetZoneSource(ZoneSource& source) noexcept
{
    DescribeZoneSource(secure_getenv("TZ"), source);
}

bool LoadZone(const ZoneSource& identity, ZoneTable& table) noexcept
{
    PosixSource source;
    std::memcpy(static_cast<void*>(&source), identity.identity, sizeof(source));
    switch (source.kind) {
    case SourceKind::Utc:
        table = ZoneTable();
        return true;
    case SourceKind::Text:
        return LoadText(source.name, table);
    case SourceKind::File: {
        const int lastError = errno;
        const bool sound = LoadFile(source, table);
        errno = lastError;
        return sound;
    }
    default:
        return false;
    }
}

bool GetZoneBias(const ZoneTable* zone, ZoneBias& bias) noexcept
{
    if (zone != nullptr) {
        bias = zone->GetBias(GetCurrentSeconds());
    }
    return zone != nullptr;
}

} // namespace QV::Impl
