/// Blocks above the largest size class: each has a reservation of its own, which grows in place or moves
/// without being copied where the system can do that.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>
#include <QVRoot/MemoryManagement/Core/Pooled/RetentionImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

namespace QV::Impl::Pooled {

struct LargeBlockStatistics {
    USize usedBytes;     ///< behind blocks in use
    USize retainedBytes; ///< in free reservations that still have memory behind them
};

/// The first bytes of a reservation; the block's payload follows.
struct LargeBlock {
    LargeBlock* next;
    LargeBlock* previous;
    USize reserved; ///< bytes of the reservation
    USize resident; ///< bytes at its beginning that may have memory behind them
    USize chunkSize;
    UInt64 unused;
    UInt64 tag;
    UInt64 header;
};
static_assert(sizeof(LargeBlock) == 64);

class LargeBlocks {
public:
    constexpr LargeBlocks() noexcept = default;

    /// The payload of a new block in use, or null. `room` asks for space to grow in place.
    void* Allocate(USize size, bool room) noexcept;

    /// Takes a block whose header is sound and in use.
    void Free(void* block) noexcept;

    /// Resizes such a block to a size that is large as well: the block, possibly moved, or null when it
    /// cannot be done without copying.
    void* Resize(void* block, USize size) noexcept;

    /// Whether the block's words are those of a large block; in use when `header` has the flag.
    static bool IsLarge(const void* block, UInt64 header) noexcept;

    /// Gives the free reservations back to the system.
    void Purge() noexcept;

    LargeBlockStatistics GetStatistics() noexcept;
    bool Check() noexcept;

private:
    static constexpr UInt32 MostRetained = 32;

    LargeBlock* TakeRetained(USize bytes, bool room) noexcept;
    void Retain(LargeBlock* large) noexcept;
    void Trim(UInt64 now) noexcept;
    void Link(LargeBlock* large) noexcept;
    void Unlink(LargeBlock* large) noexcept;

    struct Retained {
        LargeBlock* large;
        UInt64 freedAt;
    };

    CriticalSection lock_;
    LargeBlock* used_ = nullptr;
    USize usedBytes_ = 0;
    Retained retained_[MostRetained] = {}; ///< the oldest first
    UInt32 retainedCount_ = 0;
    USize retainedBytes_ = 0;
    Retention retention_;
};

LargeBlocks& GetLargeBlocks() noexcept;

} // namespace QV::Impl::Pooled
