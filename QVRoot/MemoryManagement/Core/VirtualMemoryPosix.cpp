#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

#include <cstring>
#include <fcntl.h>
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

/// Asking for pages to be joined at once would get around the system's setting.
bool AreHugePagesAllowed() noexcept
{
    char text[64] = {};
    const int file = open("/sys/kernel/mm/transparent_hugepage/enabled", O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return false;
    }
    const ssize_t length = read(file, text, sizeof(text) - 1);
    close(file);
    return length > 0 && std::strstr(text, "[never]") == nullptr;
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

void SetHugePages(void* address, USize size, bool wanted) noexcept
{
    madvise(address, size, wanted ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
}

void JoinPages(void* address, USize size) noexcept
{
    constexpr int collapse = 25; // MADV_COLLAPSE, which older headers do not name
    static const bool allowed = AreHugePagesAllowed();
    if (allowed && madvise(address, size, MADV_HUGEPAGE) == 0) {
        madvise(address, size, collapse);
    }
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
