#include <QVRoot/MemoryManagement/Core/Pooled/DamagedBlockImpl.hpp>

#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/BlockImpl.hpp>

#include <cstdio>

namespace QV::Impl::Pooled {

namespace {

const char* Describe(BlockFault fault) noexcept
{
    switch (fault) {
    case BlockFault::FreedTwice:
        return "was freed twice, or used after it was freed";
    case BlockFault::DamagedWhileFree:
        return "was written to while it was free: it has a damaged header";
    case BlockFault::DamagedHeader:
        return "has a damaged header, or is not the beginning of a block";
    case BlockFault::NoBlock:
        break;
    }
    return "is not a block of this heap, or was freed long ago";
}

} // namespace

void ReportDamagedBlock(const void* block, BlockFault fault) noexcept
{
    char message[256];
    if (fault == BlockFault::NoBlock) {
        std::snprintf(message, sizeof(message), "QVRoot: the block at 0x%llx %s",
                      reinterpret_cast<UInt64>(block), Describe(fault));
        ReportDamagedHeap(message);
    }
    const UInt64 header = GetHeader(block);
    std::snprintf(message, sizeof(message),
                  "QVRoot: the block at 0x%llx %s (header 0x%llx: %llu usable bytes, flags %u; tag 0x%llx)",
                  reinterpret_cast<UInt64>(block), Describe(fault), header, GetUsableSize(header),
                  static_cast<unsigned>(header & HeaderFlags), GetTag(block));
    ReportDamagedHeap(message);
}

} // namespace QV::Impl::Pooled
