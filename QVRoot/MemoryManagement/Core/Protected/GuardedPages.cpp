#include <QVRoot/MemoryManagement/Core/Protected/GuardedPagesImpl.hpp>
#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

#include <algorithm>

namespace QV::Impl {

bool MakeGuardedPages(USize size, bool guardBelow, GuardedPages& pages) noexcept
{
    const USize page = VirtualMemory::GetPageSize();
    const USize usedSize = (std::max<USize>(size, 1) + page - 1) & ~(page - 1);
    const USize regionSize = usedSize + page;
    char* const region = static_cast<char*>(VirtualMemory::Reserve(regionSize));
    if (region == nullptr) {
        return false;
    }
    char* const begin = guardBelow ? region + page : region;
    if (!VirtualMemory::Commit(begin, usedSize)) {
        VirtualMemory::Release(region, regionSize);
        return false;
    }
    pages = {region, regionSize, begin, begin + usedSize};
    return true;
}

void ReleaseGuardedPages(char* region, USize regionSize) noexcept
{
    VirtualMemory::Release(region, regionSize);
}

void LockGuardedPages(char* region, USize regionSize) noexcept
{
    VirtualMemory::Protect(region, regionSize);
    VirtualMemory::Decommit(region, regionSize);
}

void MappingReserve::SetAside() noexcept
{
    const USize page = VirtualMemory::GetPageSize();
    pages_ = static_cast<char*>(VirtualMemory::Reserve(MappingCount * page));
    // Neighbours that differ in access are mappings of their own.
    for (USize i = 0; pages_ != nullptr && i < MappingCount; i += 2) {
        VirtualMemory::Commit(pages_ + i * page, page);
    }
}

void MappingReserve::GiveBack() noexcept
{
    if (pages_ != nullptr) {
        VirtualMemory::Release(pages_, MappingCount * VirtualMemory::GetPageSize());
        pages_ = nullptr;
    }
}

} // namespace QV::Impl
