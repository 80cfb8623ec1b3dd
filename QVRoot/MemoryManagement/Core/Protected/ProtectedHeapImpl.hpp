/// The guarded allocator. Every block has pages of its own and lies against an inaccessible one; the bytes of
/// its pages that it does not use hold a pattern, which is checked when the block is freed.
///
/// The system limits the number of mappings, and each block takes two: about 32,000 blocks at a time on
/// Linux. Blocks beyond that come from the system heap, without a guard page but with the same checks.
///
/// A block that is freed twice, was never allocated, or has its surroundings overwritten ends the process
/// with a report.
#pragma once

#include <QVRoot/MemoryManagement/Core/Protected/BlockTableImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Protected/GuardedPagesImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <atomic>

namespace QV::Impl {

struct ProtectedOptions {
    bool backwards = false;     ///< the guard page lies below the block
    bool lockdown = false;      ///< freed blocks stay inaccessible for ever
    bool collectStacks = false; ///< remember who allocated and freed
};

class ProtectedHeap {
public:
    constexpr ProtectedHeap() noexcept = default;
    ProtectedHeap(const ProtectedHeap&) = delete;
    ProtectedHeap& operator=(const ProtectedHeap&) = delete;

    /// To be called once, before anything else.
    void Initialize(const ProtectedOptions& options) noexcept;

    void* Allocate(USize size) noexcept;
    /// Always moves the block.
    void* Reallocate(void* block, USize size) noexcept;
    void Free(void* block) noexcept;
    /// The size that was asked for. Checks the block's surroundings as freeing it does.
    USize GetSize(void* block) noexcept;
    /// Whether the surroundings of all live blocks are as they should be.
    bool Check() noexcept;
    bool Describe(const void* address, char* text, USize size) noexcept;

private:
    enum class Fault { None, FreedBefore, NoBlock, InsideBlock, DamagedFront, DamagedBack };

    /// What is known of a block, copied so that it can be named without the lock: naming an address may wait
    /// for the system's loader, which may wait for us.
    struct Snapshot {
        BlockRecord record;
        BlockStacks stacks;
        bool hasStacks;
    };

    bool MakeGuarded(USize size, BlockRecord& record) noexcept;
    bool MakeUnguarded(USize size, BlockRecord& record) noexcept;
    void NoteMissingGuard() noexcept;
    bool Enter(const BlockRecord& record) noexcept;
    void Dispose(const BlockRecord& record) noexcept;
    void Capture(CapturedStack& stack) const noexcept;

    USize GetSize(const char* operation, const void* block) noexcept;
    Fault FindFault(const void* block) noexcept;
    bool TakeSnapshot(const void* address, Snapshot& snapshot) noexcept;
    [[noreturn]] void Stop(const char* operation, const void* block, Fault fault) noexcept;
    static const char* GetText(Fault fault) noexcept;

    CriticalSection section_;
    BlockTable table_;
    ProtectedOptions options_;
    MappingReserve mappingReserve_;
    std::atomic<USize> guardedCount_ = 0;
    std::atomic<USize> guardedLimit_ = ~USize{0};
    std::atomic<bool> noted_ = false;
};

/// The one that serves the memory manager.
ProtectedHeap& GetProcessProtectedHeap() noexcept;

} // namespace QV::Impl
