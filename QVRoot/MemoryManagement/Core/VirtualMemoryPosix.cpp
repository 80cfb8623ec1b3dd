#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

#include <sys/mman.h>
#include <unistd.h>

namespace QV::Impl::VirtualMemory {

USize GetPageSize() noexcept
{
    static const USize pageSize = static_cast<USize>(sysconf(_SC_PAGESIZE));
    return pageSize;
}

namespace {

char* Map(USize size) noexcept
{
    void* const address = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return address == MAP_FAILED ? nullptr : static_cast<char*>(address);
}

} // namespace

void* Reserve(USize size, USize alignment) noexcept
{
    if (alignment <= GetPageSize()) {
        return Map(size);
    }
    if (size + alignment < size) {
        return nullptr;
    }
    char* const raw = Map(size + alignment);
    if (raw == nullptr) {
        return nullptr;
    }
    const USize misfit = reinterpret_cast<USize>(raw) & (alignment - 1);
    char* const aligned = misfit == 0 ? raw : raw + (alignment - misfit);
    if (aligned != raw) {
        munmap(raw, static_cast<USize>(aligned - raw));
    }
    const USize tail = static_cast<USize>(raw + size + alignment - (aligned + size));
    if (tail != 0) {
        munmap(aligned + size, tail);
    }
    return aligned;
}

bool Commit(void* address, USize size) noexcept
{
    return mprotect(address, size, PROT_READ | PROT_WRITE) == 0;
}

void Decommit(void* address, USize size) noexcept
{
    madvise(address, size, MADV_DONTNEED);
}

bool Recommit(void*, USize) noexcept
{
    return true;
}

bool Protect(void* address, USize size) noexcept
{
    return mprotect(address, size, PROT_NONE) == 0;
}

void Release(void* address, USize size) noexcept
{
    munmap(address, size);
}

void* Resize(void* address, USize oldSize, USize newSize) noexcept
{
    void* const moved = mremap(address, oldSize, newSize, MREMAP_MAYMOVE);
    return moved == MAP_FAILED ? nullptr : moved;
}

} // namespace QV::Impl::VirtualMemory
