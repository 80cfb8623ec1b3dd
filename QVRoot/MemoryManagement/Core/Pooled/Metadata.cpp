#include <QVRoot/MemoryManagement/Core/Pooled/MetadataImpl.hpp>

#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

namespace QV::Impl::Pooled {

namespace {

constexpr USize chunkBytes = 256 * 1024;

constinit CriticalSection lock;
constinit USize next = 0;
constinit USize end = 0;
constinit USize total = 0;

bool AddChunk() noexcept
{
    void* const memory = VirtualMemory::Reserve(chunkBytes);
    if (memory == nullptr) {
        return false;
    }
    if (!VirtualMemory::Commit(memory, chunkBytes)) {
        VirtualMemory::Release(memory, chunkBytes);
        return false;
    }
    next = reinterpret_cast<USize>(memory);
    end = next + chunkBytes;
    total += chunkBytes;
    return true;
}

} // namespace

void* AllocateMetadata(USize size, USize alignment) noexcept
{
    const CriticalSectionGuard guard(lock);
    USize start = (next + alignment - 1) & ~(alignment - 1);
    if (start + size > end) {
        if (!AddChunk()) {
            return nullptr;
        }
        start = next;
    }
    next = start + size;
    return reinterpret_cast<void*>(start);
}

USize GetMetadataBytes() noexcept
{
    const CriticalSectionGuard guard(lock);
    return total;
}

} // namespace QV::Impl::Pooled
