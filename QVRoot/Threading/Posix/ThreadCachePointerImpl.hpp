/// The pointer to a thread's cache of the pooled heap, read with every allocation.
#pragma once

namespace QV::Impl {

/// Trivial and in the thread's static block, so that it costs one load and outlives every destructor.
[[gnu::tls_model("initial-exec")]] extern constinit thread_local void* threadCachePointer;

struct ThreadCachePointer {
    /// To be called before the first `Set`; false when the system has no room for the pointer.
    static bool Prepare() noexcept { return true; }

    /// Null at first.
    static void* Get() noexcept { return threadCachePointer; }
    static void Set(void* cache) noexcept { threadCachePointer = cache; }
};

} // namespace QV::Impl
