#include <QVRoot/Exceptions/StackCaptureImpl.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <dlfcn.h>

namespace QV::Impl {

namespace {

const char* GetFileName(const char* path) noexcept
{
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

UInt64 GetDistance(const void* from, const void* to) noexcept
{
    return reinterpret_cast<UInt64>(to) - reinterpret_cast<UInt64>(from);
}

} // namespace

// Only exported functions have a name here: the loader does not map the others' names.
void DescribeAddress(void* address, char* text, USize size, NameForm form) noexcept
{
    if (size == 0) {
        return;
    }
    // The call is what counts: behind one that never returns, another function may begin.
    const void* call = reinterpret_cast<const void*>(reinterpret_cast<USize>(address) - 1);
    Dl_info info = {};
    if (address == nullptr || dladdr(call, &info) == 0 || info.dli_fname == nullptr) {
        std::snprintf(text, size, "%p", address);
        return;
    }
    const char* module = GetFileName(info.dli_fname);
    if (info.dli_sname == nullptr) {
        std::snprintf(text, size, "%s+0x%llx", module, GetDistance(info.dli_fbase, address));
        return;
    }
    char* demangled = nullptr;
    if (form == NameForm::Demangled) {
        demangled = abi::__cxa_demangle(info.dli_sname, nullptr, nullptr, nullptr);
    }
    std::snprintf(text, size, "%s+0x%llx (%s)", demangled != nullptr ? demangled : info.dli_sname,
                  GetDistance(info.dli_saddr, address), module);
    std::free(demangled);
}

} // namespace QV::Impl
