/// What an allocation back end provides, and the back ends and layers that exist.
///
/// Preconditions of every function: blocks were made by the same back end and not yet freed. No back end may
/// call the memory manager, and none may throw. All functions may be called from any thread, at any time from
/// the first allocation before `main` to the last free at process exit.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

struct BackEnd {
    /// A block of at least `size` bytes, aligned to 16, or null. Size 0 gives a block too.
    void* (*allocate)(USize size);
    /// The resized block, or null with the old block still valid. Block and size are not null and not 0.
    void* (*reallocate)(void* block, USize size);
    /// Releases a block; null is allowed.
    void (*free)(void* block);
    /// The usable size of a block that is not null.
    USize (*msize)(void* block);
    /// Whether the heap is consistent.
    bool (*heapCheck)();
    /// The name for the trace message.
    const char* name;
};

/// The runtime library's heap.
const BackEnd& GetSystemHeap() noexcept;

/// The thread-caching pooled allocator.
const BackEnd& GetPooledHeap() noexcept;

/// The guarded allocator: every block lies against an inaccessible page.
const BackEnd& GetProtectedHeap() noexcept;

/// Layers over another back end: they count, or fail on purpose, and pass everything else on.
const BackEnd& AddStatistics(const BackEnd& below) noexcept;
const BackEnd& AddFaultInjection(const BackEnd& below) noexcept;

/// The section of all debug values of the memory manager.
inline constexpr const char* MemoryManagerSection = "QVRoot\\MemoryManager";

/// Ends the process with a message about a damaged heap. Formats without allocating.
[[noreturn]] void ReportDamagedHeap(const char* message) noexcept;

} // namespace QV::Impl
