#include <QVRoot/Exceptions/CfiProgramImpl.hpp>
#include <QVRoot/Exceptions/UnwindTableImpl.hpp>

#include <cstring>

namespace QV::Impl {

namespace {

/// The header of the index, in the one form that linkers write.
struct IndexHeader {
    UInt8 version;
    UInt8 tableEncoding; // of the pointer to the tables
    UInt8 countEncoding;
    UInt8 entryEncoding;
    Int32 table;
    UInt32 count;
};

/// Both relative to the index.
struct IndexEntry {
    Int32 functionBegin;
    Int32 description;
};

template <typename T>
T Load(UInt64 address) noexcept
{
    T value;
    std::memcpy(&value, reinterpret_cast<const void*>(address), sizeof value);
    return value;
}

/// The description of the last function that begins at or before `address`.
RuleLookup FindDescription(const CodeModule& module, UInt64 address, UInt64& description) noexcept
{
    constexpr UInt8 RelativeToItself = 0x1B, Unsigned32 = 0x03, RelativeToIndex = 0x3B;
    if (module.end - module.tables < sizeof(IndexHeader)) {
        return RuleLookup::NotExpressible;
    }
    const auto header = Load<IndexHeader>(module.tables);
    if (header.version != 1 || header.tableEncoding != RelativeToItself ||
        header.countEncoding != Unsigned32 || header.entryEncoding != RelativeToIndex) {
        return RuleLookup::NotExpressible;
    }
    const UInt64 entries = module.tables + sizeof(IndexHeader);
    if ((module.end - entries) / sizeof(IndexEntry) < header.count) {
        return RuleLookup::NotExpressible;
    }
    const auto wanted = static_cast<Int64>(address - module.tables);
    UInt64 first = 0;
    UInt64 behind = header.count; // entries from here on begin behind the address
    while (first < behind) {
        const UInt64 middle = (first + behind) / 2;
        if (Load<IndexEntry>(entries + middle * sizeof(IndexEntry)).functionBegin <= wanted) {
            first = middle + 1;
        } else {
            behind = middle;
        }
    }
    if (behind == 0) {
        return RuleLookup::NoTable;
    }
    const auto entry = Load<IndexEntry>(entries + (behind - 1) * sizeof(IndexEntry));
    description = module.tables + static_cast<UInt64>(Int64{entry.description});
    return RuleLookup::Found;
}

/// The body of a table entry behind its length. Entries of 4 GB and more are not supported.
bool OpenEntry(const CodeModule& module, UInt64 address, CfiReader& body) noexcept
{
    if (address < module.begin || address >= module.end) {
        return false;
    }
    CfiReader reader(address, module.end);
    const auto length = reader.Read<UInt32>();
    if (length == 0 || length == 0xFFFFFFFF) {
        return false;
    }
    body = reader.ReadPart(length);
    return !reader.HasFailed();
}

/// The letters behind 'z' say which fields follow. False for forms that describe no ordinary frame.
bool ReadAugmentation(const char* letters, CfiReader fields, CfiCommon& common) noexcept
{
    for (; *letters != 0; ++letters) {
        switch (*letters) {
        case 'R':
            common.pointerEncoding = fields.Read<UInt8>();
            break;
        case 'P': {
            const auto encoding = fields.Read<UInt8>();
            fields.ReadPointerValue(encoding);
            break;
        }
        case 'L':
            fields.Read<UInt8>();
            break;
        default: // 'S' among them: a signal frame
            return false;
        }
    }
    return !fields.HasFailed();
}

bool ReadCommon(CfiReader body, CfiCommon& common) noexcept
{
    constexpr UInt64 ReturnAddressColumn = 16;
    const auto id = body.Read<UInt32>();
    const auto version = body.Read<UInt8>();
    if (id != 0 || (version != 1 && version != 3)) {
        return false;
    }
    char letters[8];
    UInt32 count = 0;
    while ((letters[count] = body.Read<char>()) != 0) {
        if (++count == sizeof letters) {
            return false;
        }
    }
    common.codeAlignment = body.ReadUleb();
    common.dataAlignment = body.ReadSleb();
    const UInt64 column = version == 1 ? body.Read<UInt8>() : body.ReadUleb();
    if (column != ReturnAddressColumn) {
        return false;
    }
    common.hasAugmentation = letters[0] == 'z';
    if (common.hasAugmentation) {
        if (!ReadAugmentation(letters + 1, body.ReadPart(body.ReadUleb()), common)) {
            return false;
        }
    } else if (letters[0] != 0) {
        return false;
    }
    common.program = CfiReader(body.GetPosition(), body.GetEnd());
    return !body.HasFailed();
}

} // namespace

RuleLookup FindFrameRule(const CodeModule& module, UInt64 address, FrameRule& rule) noexcept
{
    UInt64 description = 0;
    const RuleLookup lookup = FindDescription(module, address, description);
    if (lookup != RuleLookup::Found) {
        return lookup;
    }
    CfiReader body(0, 0);
    if (!OpenEntry(module, description, body)) {
        return RuleLookup::NotExpressible;
    }
    const UInt64 distanceField = body.GetPosition();
    const UInt64 commonAddress = distanceField - body.Read<UInt32>();
    CfiReader commonBody(0, 0);
    CfiCommon common;
    if (!OpenEntry(module, commonAddress, commonBody) || !ReadCommon(commonBody, common)) {
        return RuleLookup::NotExpressible;
    }
    const UInt64 functionBegin = body.ReadPointer(common.pointerEncoding);
    const UInt64 functionLength = body.ReadPointerValue(common.pointerEncoding);
    if (address - functionBegin >= functionLength) {
        return RuleLookup::NoTable;
    }
    if (common.hasAugmentation) {
        body.Skip(body.ReadUleb()); // where the landing pads are described
    }
    return !body.HasFailed() && RunCfiProgram(common, body, functionBegin, address, rule)
               ? RuleLookup::Found
               : RuleLookup::NotExpressible;
}

} // namespace QV::Impl
