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
    LargeBlock* next; ///< of its chain, while in use
    UInt64 unused[2];
    USize reserved; ///< bytes of the reservation
    USize resident; ///< bytes at its beginning that may have memory behind them
    USize chunkSize;
    UInt64 tag;
    UInt64 header;
};
static_assert(sizeof(LargeBlock) == 64);

class LargeBlocks {
public:
    constexpr LargeBlocks() noexcept = default;

    /// The payload of a new block in use, or null. `room` asks for space to grow in place.
    void* Allocate(USize size, bool room) noexcept;

    /// Ends the process when the block is not a large one in use. Follows no pointer that is not.
    void Validate(const void* block) noexcept;

    /// Takes a block that is valid.
    void Free(void* block) noexcept;

    /// Resizes such a block to a size that is large as well: the block, possibly moved, or null when it
    /// cannot be done without copying.
    void* Resize(void* block, USize size) noexcept;

    /// Gives the free reservations back to the system.
    void Purge() noexcept;

    LargeBlockStatistics GetStatistics() noexcept;
    bool Check() noexcept;

private:
    static constexpr UInt32 MostRetained = 32;
    static constexpr UInt32 ChainBits = 11;
    static constexpr UInt32 ChainCount = 1 << ChainBits;

    LargeBlock* TakeRetained(USize bytes, bool room) noexcept;
    void Trim(UInt64 now) noexcept;
    LargeBlock** FindLink(const LargeBlock* large) noexcept;
    bool IsRetained(const LargeBlock* large) const noexcept;
    void Link(LargeBlock* large) noexcept;
    void Unlink(LargeBlock* large) noexcept;

    struct Retained {
        LargeBlock* large;
        UInt64 freedAt;
    };

    CriticalSection lock_;
    LargeBlock* used_[ChainCount] = {}; ///< chains, by address
    USize usedBytes_ = 0;
    Retained retained_[MostRetained] = {}; ///< the oldest first
    UInt32 retainedCount_ = 0;
    USize retainedBytes_ = 0;
    Retention retention_;
};

LargeBlocks& GetLargeBlocks() noexcept;

} // namespace QV::Impl::Pooled
