/// The two words below a block's payload:
///
///     payload - 16   tag: the payload's own address (large blocks: its complement)
///     payload - 8    header: the chunk size, with flags in the low 3 bits (2 = in use)
///
/// The tag is written once, when the block is cut from its span; it is the first thing that writing behind
/// the end of the block before it destroys. The in-use flag goes with every free.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>
#include <QVRoot/MemoryManagement/Core/Pooled/PoisonImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/SizeClassesImpl.hpp>

#include <atomic>

namespace QV::Impl::Pooled {

inline constexpr UInt64 InUse = 2;
inline constexpr UInt64 HeaderFlags = 7;

inline UInt64 MakeTag(const void* block) noexcept
{
    return reinterpret_cast<UInt64>(block);
}

inline UInt64 MakeLargeTag(const void* block) noexcept
{
    return ~reinterpret_cast<UInt64>(block);
}

// The words are atomic because the heap check reads them while other threads allocate and free.

inline UInt64 LoadWord(const void* address) noexcept
{
    return std::atomic_ref(*static_cast<UInt64*>(const_cast<void*>(address))).load(std::memory_order_relaxed);
}

inline void StoreWord(void* address, UInt64 value) noexcept
{
    std::atomic_ref(*static_cast<UInt64*>(address)).store(value, std::memory_order_relaxed);
}

inline UInt64 GetHeader(const void* block) noexcept
{
    return LoadWord(static_cast<const char*>(block) - 8);
}

inline void SetHeader(void* block, UInt64 header) noexcept
{
    StoreWord(static_cast<char*>(block) - 8, header);
}

inline UInt64 GetTag(const void* block) noexcept
{
    return LoadWord(static_cast<const char*>(block) - 16);
}

inline void SetTag(void* block, UInt64 tag) noexcept
{
    StoreWord(static_cast<char*>(block) - 16, tag);
}

inline USize GetUsableSize(UInt64 header) noexcept
{
    return (header & ~HeaderFlags) - ChunkOverhead;
}

} // namespace QV::Impl::Pooled
