/// Tells the address sanitizer which payloads are free. Nothing in builds without it.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#if defined(__SANITIZE_ADDRESS__)
#define QV_POOL_POISONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QV_POOL_POISONS 1
#endif
#endif

#if defined(QV_POOL_POISONS)
#include <sanitizer/asan_interface.h>
#endif

namespace QV::Impl::Pooled {

inline void Poison([[maybe_unused]] void* address, [[maybe_unused]] USize size) noexcept
{
#if defined(QV_POOL_POISONS)
    ASAN_POISON_MEMORY_REGION(address, size);
#endif
}

inline void Unpoison([[maybe_unused]] void* address, [[maybe_unused]] USize size) noexcept
{
#if defined(QV_POOL_POISONS)
    ASAN_UNPOISON_MEMORY_REGION(address, size);
#endif
}

} // namespace QV::Impl::Pooled
