/// The one allocator of the library and of the programs that load it.
///
///     void* block = MemoryManager::Allocate(100, MemoryManager::ThrowOnFailure, true);
///     MemoryManager::Free(block);
///
/// A back end is chosen once per process, by debug values of the section "QVRoot\MemoryManager": the guarded
/// allocator when "useProtectedAlloc" is true, else the pooled allocator when "memoryManagerType" is 1, else
/// the system heap. When an allocation fails, the registered failure handlers may release memory; a final
/// failure is reported and then throws or returns null, as the caller asks.
///
/// Threads: everything may be called from any thread. Errors: `OutOfMemoryException` ("Allocation Failure")
/// under `ThrowOnFailure`. Sizes are bytes.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

template <class T>
class Array;

/// Gives a component the chance to release memory when an allocation has failed.
class QV_EXPORT MemoryAllocationFailureHandler {
public:
    virtual ~MemoryAllocationFailureHandler();

    /// Answers true when memory was released and the allocation should be tried again. May allocate, may
    /// register and unregister handlers; must not wait for another thread that allocates. A `QVException`
    /// that it throws counts as false.
    virtual bool HandleAllocationFailure(USize size) = 0;

protected:
    MemoryAllocationFailureHandler() = default;
    MemoryAllocationFailureHandler(const MemoryAllocationFailureHandler&) = default;
    MemoryAllocationFailureHandler& operator=(const MemoryAllocationFailureHandler&) = default;
};

class QV_EXPORT MemoryManager {
public:
    /// What a final allocation failure does.
    enum ExceptionBehaviour {
        ThrowOnFailure = 0,      ///< throws `OutOfMemoryException`
        ReturnNullOnFailure = 1, ///< returns null
    };

    /// A block of `size` bytes, aligned to 16. Size 0 gives a block as well. `report` decides whether a final
    /// failure is logged and reported.
    static void* Allocate(USize size, ExceptionBehaviour behaviour, bool report);

    /// Resizes a block; on failure the old block stays valid. A null block is simply allocated: no handler is
    /// asked, nothing is reported and nothing thrown then, whatever the behaviour. Size 0 frees the block and
    /// returns null.
    static void* Reallocate(void* block, USize size, ExceptionBehaviour behaviour, bool report);

    /// Releases a block; null is allowed.
    static void Free(void* block);

    /// The usable size of a block, at least the size asked for; 0 for null.
    static USize MSize(void* block);

    /// A block whose address is a multiple of `alignment`, which must not be 0. To be released with
    /// `AlignedFree`, which does not accept null. A size that overflows counts as a failed allocation.
    static void* AlignedAllocate(USize size, USize alignment, ExceptionBehaviour behaviour, bool report);
    static void AlignedFree(void* block);
    /// The usable size of an aligned block, given the alignment it was made with; 0 for null.
    static USize AlignedMsize(void* block, USize alignment);

    /// 1 when the heap is consistent, 0 otherwise.
    static int HeapCheck();

    /// Whether the process runs under a debugging allocator (the guarded back end or the operating system's
    /// page heap) and "enforceDebugAllocation" does not deny it.
    static bool IsDebugAllocationEnabled();

    /// The object that holds the failure handlers. Built on first use; lives until the process ends.
    static MemoryManager& GetInstance();

    virtual ~MemoryManager();

    /// Appends the registered handlers in order and returns how many it appended.
    virtual UInt32 GetAllocationFailureHandlers(Array<MemoryAllocationFailureHandler*>& handlers) = 0;

    /// The three take a handler that is not owned. Null throws `IllegalArgumentException`. Registering twice
    /// keeps one entry; unregistering an unknown handler does nothing.
    virtual bool IsAllocationFailureHandlerRegistered(MemoryAllocationFailureHandler* handler) = 0;
    virtual void RegisterAllocationFailureHandler(MemoryAllocationFailureHandler* handler) = 0;
    virtual void UnregisterAllocationFailureHandler(MemoryAllocationFailureHandler* handler) = 0;

    /// Asks the handlers in the order of registration; the first that answers true ends the walk with true.
    virtual bool CallAllocationFailureHandlers(USize size) = 0;

protected:
    MemoryManager() = default;
};

/// Names of the memory manager's entries in the error-reporting facility.
QV_EXPORT extern const char* const MemoryManagerSpecificErrorGUID;
QV_EXPORT extern const char* const MemoryManagerSpecificErrorName;
QV_EXPORT extern const char* const AllocationFailureGUID;
QV_EXPORT extern const char* const AllocationFailureName;

namespace MemoryManagerUtil {

/// Whether `InitializeFlags` has run, and the negation of the debug value "enforceDebugAllocation".
QV_EXPORT extern bool flagsInitialized;
QV_EXPORT extern bool debugAllocationOverridden;

/// Reads "enforceDebugAllocation" once.
QV_EXPORT void InitializeFlags();

} // namespace MemoryManagerUtil

} // namespace QV
