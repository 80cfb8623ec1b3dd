/// The pooled heap's usual path, inline for whoever stands in front of it: a small block from or to the
/// calling thread's loaded magazine.
#pragma once

#include <QVRoot/MemoryManagement/Core/Pooled/SizeClassesImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/ThreadCacheImpl.hpp>

namespace QV::Impl::Pooled {

/// Null when it takes more than that, or memory is exhausted: the back end's function tells.
inline void* TryAllocate(USize size) noexcept
{
    ThreadCache* const cache = ThreadCache::GetIfAny();
    return size <= LookupLimit && cache != nullptr ? cache->Pop(LookUpSizeClass(size)) : nullptr;
}

/// Null is none of its blocks.
inline bool TryFree(void* block) noexcept
{
    ThreadCache* const cache = ThreadCache::GetIfAny();
    return cache != nullptr && cache->Push(block);
}

} // namespace QV::Impl::Pooled
