#include <QVRoot/Exceptions/IdentityHashImpl.hpp>
#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/Exceptions/UnwindTableImpl.hpp>

#include <cstring>
#include <cxxabi.h>
#include <dlfcn.h>
#include <sys/auxv.h>
#include <unwind.h>

namespace QV::Impl {

namespace {

template <typename T>
T Load(UInt64 address) noexcept
{
    T value;
    std::memcpy(&value, reinterpret_cast<const void*>(address), sizeof value);
    return value;
}

} // namespace

RuleLookup FindCodeModule(UInt64 address, CodeModule& module) noexcept
{
    dl_find_object found;
    if (_dl_find_object(reinterpret_cast<void*>(address), &found) != 0 || found.dlfo_eh_frame == nullptr) {
        return RuleLookup::NoTable;
    }
    module.begin = reinterpret_cast<UInt64>(found.dlfo_map_start);
    module.end = reinterpret_cast<UInt64>(found.dlfo_map_end);
    module.tables = reinterpret_cast<UInt64>(found.dlfo_eh_frame);
    module.loaderEntry = found.dlfo_link_map;
    const bool isInside = module.tables >= module.begin && module.tables < module.end;
    return isInside ? RuleLookup::Found : RuleLookup::NoTable;
}

void GetLastingAddresses(UInt64 (&addresses)[LastingMax]) noexcept
{
    addresses[0] = getauxval(AT_ENTRY);
    addresses[1] = reinterpret_cast<UInt64>(&CaptureStack);
    addresses[2] = reinterpret_cast<UInt64>(&getauxval);
    addresses[3] = reinterpret_cast<UInt64>(&abi::__cxa_throw);
    addresses[4] = reinterpret_cast<UInt64>(&_Unwind_Backtrace);
}

// The index begins with its form and the distance to the tables, then the count of functions; the last entry
// says where the last function begins and where it is described.
UInt64 GetIdentity(const CodeModule& module) noexcept
{
    constexpr UInt64 HeaderSize = 12, EntrySize = 8;
    if (module.end - module.tables < HeaderSize) {
        return 0;
    }
    const UInt64 entries = module.tables + HeaderSize;
    const auto count = Load<UInt32>(entries - sizeof(UInt32));
    const bool hasLast = count != 0 && count <= (module.end - entries) / EntrySize;
    const UInt64 last = hasLast ? Load<UInt64>(entries + (count - 1) * EntrySize) : 0;
    return HashIdentity({module.begin, module.end, module.tables,
                         reinterpret_cast<UInt64>(module.loaderEntry), Load<UInt64>(module.tables), count,
                         last});
}

} // namespace QV::Impl
