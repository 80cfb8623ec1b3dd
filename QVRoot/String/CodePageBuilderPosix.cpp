#include <QVRoot/String/CodePagePosixImpl.hpp>
#include <QVRoot/String/CodePageTablesImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <unicode/ucnv.h>

#include <atomic>
#include <cstring>

namespace QV::Impl {

namespace {

constinit CriticalSection section;

/// A table that is built in place when it is first asked for. Lies in zeroed memory that costs nothing
/// until then.
template <class Table>
class LazyTable {
public:
    /// Null when the table cannot be built; the next caller tries again.
    template <class Build>
    const Table* Get(Build build)
    {
        if (!built_.load(std::memory_order_acquire)) [[unlikely]] {
            const CriticalSectionGuard guard(section);
            if (!built_.load(std::memory_order_relaxed)) {
                if (!build(table_)) {
                    return nullptr;
                }
                built_.store(true, std::memory_order_release);
            }
        }
        return &table_;
    }

private:
    std::atomic<bool> built_ = false;
    Table table_ = {};
};

void AddBestFits(SingleByteEncoding& encoding, std::span<const UInt32> fits)
{
    for (const UInt32 fit : fits) {
        encoding.bytes[fit >> 8] = static_cast<UInt8>(fit);
    }
}

bool BuildSingleBytes(UInt32 page, SingleByteEncoding& encoding)
{
    std::memset(encoding.bytes, '?', sizeof(encoding.bytes));
    const UInt16* const units = FindSingleByteTable(page);
    for (UInt32 byte = 0; byte < 0x100; ++byte) {
        encoding.bytes[units[byte]] = static_cast<UInt8>(byte);
    }
    AddBestFits(encoding, GetSharedBestFits());
    AddBestFits(encoding, GetBestFits(page));
    for (UInt32 unit = 0; unit < 0x10000; ++unit) {
        const UInt8 byte = encoding.bytes[unit];
        encoding.exact[unit] = units[byte] == unit ? byte : UInt8(0);
    }
    return true;
}

/// What tells the pages apart: also the units that Windows gives to bytes that the standards leave free.
struct DoubleByteKind {
    UInt32 page;
    const char* converter; ///< ICU's name of the mapping
    UInt16 undefined;
    UInt16 unitOf80;
    UInt16 unitOfFF;
};

constexpr DoubleByteKind doubleByteKinds[] = {
    {932, "ibm-943_P15A-2003", 0x30FB, 0x0080, 0xF8F3},
    {936, "windows-936-2000", '?', 0x20AC, 0xF8F5},
    {949, "windows-949-2000", '?', 0x0080, 0xF8F7},
    {950, "windows-950-2000", '?', 0x0080, 0xF8F8},
};

/// ICU's converter, which refuses what the page does not define.
class Converter {
public:
    explicit Converter(const char* name)
    {
        UErrorCode error = U_ZERO_ERROR;
        converter_ = ucnv_open(name, &error);
        ucnv_setFallback(converter_, true);
        ucnv_setToUCallBack(converter_, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        isGood_ = U_SUCCESS(error);
    }
    ~Converter() { ucnv_close(converter_); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool IsGood() const { return isGood_; }

    /// Whether two bytes are one character of one unit.
    bool Decode(UInt32 lead, UInt32 trail, UInt16& unit)
    {
        const char bytes[2] = {static_cast<char>(lead), static_cast<char>(trail)};
        UChar units[4];
        UErrorCode error = U_ZERO_ERROR;
        ucnv_resetToUnicode(converter_);
        const int count = ucnv_toUChars(converter_, units, 4, bytes, 2, &error);
        unit = static_cast<UInt16>(units[0]);
        return U_SUCCESS(error) && count == 1;
    }

private:
    UConverter* converter_ = nullptr;
    bool isGood_ = false;
};

constexpr UInt16 unencoded = 0xFFFF;

void Define(DoubleBytePage& table, UInt32 code, UInt16 unit)
{
    if (table.codes[unit] == unencoded) {
        table.codes[unit] = static_cast<UInt16>(code);
    }
}

/// Japanese has single bytes between the lead bytes, and fewer of those.
UInt16 GetKanaOrPrivateUnit(UInt32 byte)
{
    if (byte >= 0xFD) {
        return static_cast<UInt16>(0xF8F1 + (byte - 0xFD));
    }
    return static_cast<UInt16>(byte == 0xA0 ? 0xF8F0 : 0xFF61 + (byte - 0xA1));
}

void BuildSingles(const DoubleByteKind& kind, DoubleBytePage& table)
{
    const bool japanese = kind.page == 932;
    for (UInt32 byte = 0; byte < 0x100; ++byte) {
        UInt16& unit = table.singles[byte];
        unit = static_cast<UInt16>(byte < 0x80 ? byte : byte == 0x80 ? kind.unitOf80 : kind.unitOfFF);
        if (japanese && ((byte >= 0xA0 && byte <= 0xDF) || byte >= 0xFD)) {
            unit = GetKanaOrPrivateUnit(byte);
        } else if (byte > 0x80 && byte < 0xFF) {
            table.isLead[byte] = 1;
            unit = kind.undefined;
            continue;
        }
        Define(table, byte, unit);
    }
}

void BuildPairs(Converter& converter, DoubleBytePage& table)
{
    for (UInt32 lead = DoubleBytePage::firstLead; lead <= 0xFE; ++lead) {
        for (UInt32 trail = 0; trail < 0x100; ++trail) {
            UInt16& unit = table.pairs[lead - DoubleBytePage::firstLead][trail];
            if (table.isLead[lead] && trail != 0 && converter.Decode(lead, trail, unit)) {
                Define(table, lead << 8 | trail, unit);
            } else {
                unit = table.undefined;
            }
        }
    }
}

bool BuildDoubleBytes(const DoubleByteKind& kind, DoubleBytePage& table)
{
    Converter converter(kind.converter);
    if (!converter.IsGood()) {
        return false;
    }
    table.undefined = kind.undefined;
    std::memset(table.codes, 0xFF, sizeof(table.codes));
    BuildSingles(kind, table);
    BuildPairs(converter, table);
    for (const UInt32 fit : GetBestFits(kind.page)) {
        table.codes[fit >> 16] = static_cast<UInt16>(fit);
    }
    for (UInt32 unit = 0; unit < 0x10000; ++unit) {
        UInt16& code = table.codes[unit];
        code = code == unencoded ? '?' : code;
        table.exact[unit] = table.Decode(code) == unit ? code : UInt16(0);
    }
    return true;
}

} // namespace

const SingleByteEncoding* GetSingleByteEncoding(UInt32 page) noexcept
{
    static constinit LazyTable<SingleByteEncoding> tables[9];
    if (FindSingleByteTable(page) == nullptr) {
        return nullptr;
    }
    const UInt32 index = page == 874 ? 8 : page - 1250;
    return tables[index].Get([page](SingleByteEncoding& table) { return BuildSingleBytes(page, table); });
}

const DoubleBytePage* GetDoubleBytePage(UInt32 page) noexcept
{
    static constinit LazyTable<DoubleBytePage> tables[4];
    for (UInt32 i = 0; i < 4; ++i) {
        const DoubleByteKind& kind = doubleByteKinds[i];
        if (kind.page == page) {
            return tables[i].Get([&kind](DoubleBytePage& table) { return BuildDoubleBytes(kind, table); });
        }
    }
    return nullptr;
}

} // namespace QV::Impl
