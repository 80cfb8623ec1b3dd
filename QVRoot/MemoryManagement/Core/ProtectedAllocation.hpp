/// What a crash handler wants to know from the guarded allocator: whose block a faulting address belongs to.
///
///     void OnFault(const void* address) // from the host's own fault handler
///     {
///         char text[8192];
///         if (ProtectedAllocation::Describe(address, text, sizeof(text))) {
///             WriteToCrashLog(text);
///         }
///     }
///
/// The allocator is in use when the debug value "useProtectedAlloc" of the section "QVRoot\MemoryManager" is
/// true. Then every block lies against an inaccessible page, and three more values refine it:
/// "protectedAllocBackwards" puts that page below the block instead of above it, "protectedAllocLockdown"
/// keeps freed blocks inaccessible for ever instead of giving their addresses to new blocks, and
/// "protectedAllocCollectStacks" remembers who allocated and freed each block.
///
/// Threads: everything may be called from any thread, also from a handler of an access fault. Errors: none.
/// Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class QV_EXPORT ProtectedAllocation {
public:
    /// Whether the guarded allocator is the memory manager's back end.
    static bool IsEnabled() noexcept;

    /// Writes which block the address lies in or next to, how large it is, whether it is in use or freed, and
    /// the stacks that were kept. The text ends in 0 and is cut to `size` bytes. False, and an empty text,
    /// for an address that belongs to no block.
    static bool Describe(const void* address, char* text, USize size) noexcept;
};

} // namespace QV
