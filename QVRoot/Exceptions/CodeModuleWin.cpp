#include <QVRoot/Exceptions/IdentityHashImpl.hpp>
#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/Exceptions/UnwindTableImpl.hpp>

#include <windows.h>

namespace QV::Impl {

namespace {

const IMAGE_NT_HEADERS64& GetHeaders(const CodeModule& module) noexcept
{
    return *reinterpret_cast<const IMAGE_NT_HEADERS64*>(module.tables);
}

UInt64 GetFunction(const wchar_t* module, const char* name) noexcept
{
    return reinterpret_cast<UInt64>(GetProcAddress(GetModuleHandleW(module), name));
}

} // namespace

// Code outside of modules may have been registered with the system.
RuleLookup FindCodeModule(UInt64 address, CodeModule& module) noexcept
{
    void* base = nullptr;
    if (RtlPcToFileHeader(reinterpret_cast<void*>(address), &base) == nullptr) {
        return RuleLookup::NotExpressible;
    }
    const auto* dos = static_cast<const IMAGE_DOS_HEADER*>(base);
    module.begin = reinterpret_cast<UInt64>(base);
    module.tables = module.begin + static_cast<UInt64>(dos->e_lfanew);
    module.end = module.begin + GetHeaders(module).OptionalHeader.SizeOfImage;
    module.loaderEntry = base;
    return RuleLookup::Found;
}

void GetLastingAddresses(UInt64 (&addresses)[LastingMax]) noexcept
{
    addresses[0] = reinterpret_cast<UInt64>(GetModuleHandleW(nullptr));
    addresses[1] = reinterpret_cast<UInt64>(&CaptureStack);
    addresses[2] = GetFunction(L"kernel32", "BaseThreadInitThunk");
    addresses[3] = GetFunction(L"ntdll", "RtlUserThreadStart");
    addresses[4] = GetFunction(L"msvcrt", "qsort");
}

UInt64 GetIdentity(const CodeModule& module) noexcept
{
    const IMAGE_NT_HEADERS64& headers = GetHeaders(module);
    const auto& functions = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXCEPTION];
    return HashIdentity({module.begin, module.end, headers.FileHeader.TimeDateStamp,
                         headers.OptionalHeader.CheckSum, headers.OptionalHeader.AddressOfEntryPoint,
                         functions.VirtualAddress, functions.Size});
}

} // namespace QV::Impl
