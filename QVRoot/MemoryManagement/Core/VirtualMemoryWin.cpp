#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

#include <windows.h>

namespace QV::Impl::VirtualMemory {

USize GetPageSize() noexcept
{
    static const USize pageSize = [] {
        SYSTEM_INFO info;
        GetSystemInfo(&info);
        return static_cast<USize>(info.dwPageSize);
    }();
    return pageSize;
}

void* Reserve(USize size, USize alignment) noexcept
{
    constexpr USize granularity = 65536;
    if (alignment <= granularity) {
        return VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS);
    }
    // A reservation cannot be trimmed: find an aligned place, free it, and take it before anybody else does.
    for (int attempt = 0; attempt < 16; ++attempt) {
        void* const probe = VirtualAlloc(nullptr, size + alignment, MEM_RESERVE, PAGE_NOACCESS);
        if (probe == nullptr) {
            return nullptr;
        }
        const USize aligned = (reinterpret_cast<USize>(probe) + alignment - 1) & ~(alignment - 1);
        VirtualFree(probe, 0, MEM_RELEASE);
        void* const wanted = VirtualAlloc(reinterpret_cast<void*>(aligned), size, MEM_RESERVE, PAGE_NOACCESS);
        if (wanted != nullptr) {
            return wanted;
        }
    }
    return nullptr;
}

bool Commit(void* address, USize size) noexcept
{
    return VirtualAlloc(address, size, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void Decommit(void* address, USize size) noexcept
{
    VirtualFree(address, size, MEM_DECOMMIT);
}

bool Recommit(void* address, USize size) noexcept
{
    return Commit(address, size);
}

void SetHugePages(void*, USize, bool) noexcept {}

void JoinPages(void*, USize) noexcept {}

bool Protect(void* address, USize size) noexcept
{
    DWORD previous;
    return VirtualProtect(address, size, PAGE_NOACCESS, &previous) != 0;
}

void Release(void* address, USize) noexcept
{
    VirtualFree(address, 0, MEM_RELEASE);
}

void* Resize(void*, USize, USize) noexcept
{
    return nullptr;
}

} // namespace QV::Impl::VirtualMemory
