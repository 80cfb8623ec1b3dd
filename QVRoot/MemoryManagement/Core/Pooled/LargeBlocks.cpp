#include <QVRoot/MemoryManagement/Core/Pooled/LargeBlocksImpl.hpp>

#include <QVRoot/MemoryManagement/Core/Pooled/BlockImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/DamagedBlockImpl.hpp>
#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

#include <algorithm>

namespace QV::Impl::Pooled {

namespace {

constinit LargeBlocks largeBlocks;

/// Reservations are multiples of this: the system's own granularity on one target, few enough steps on both.
constexpr USize granularity = 64 * 1024;

/// No address space is larger; sizes up to here can be rounded without overflow.
constexpr USize mostBytes = USize{1} << 47;

/// Pages behind a block of `size` payload bytes.
constexpr USize GetPageBytes(USize size) noexcept
{
    constexpr USize page = 4096;
    return (size + sizeof(LargeBlock) + page - 1) & ~(page - 1);
}

constexpr USize RoundReservation(USize bytes) noexcept
{
    return (bytes + granularity - 1) & ~(granularity - 1);
}

void* GetPayload(LargeBlock* large) noexcept
{
    return large + 1;
}

LargeBlock* GetLarge(const void* block) noexcept
{
    return static_cast<LargeBlock*>(const_cast<void*>(block)) - 1;
}

/// Makes the block one of `bytes` pages' bytes, in use.
void Describe(LargeBlock* large, USize bytes) noexcept
{
    large->chunkSize = bytes - sizeof(LargeBlock) + ChunkOverhead;
    large->resident = std::max(large->resident, bytes);
    void* const block = GetPayload(large);
    SetTag(block, MakeLargeTag(block));
    SetHeader(block, large->chunkSize | InUse);
}

LargeBlock* ReserveLarge(USize bytes) noexcept
{
    const USize reserved = RoundReservation(bytes);
    void* const memory = VirtualMemory::Reserve(reserved);
    if (memory == nullptr) {
        return nullptr;
    }
    if (!VirtualMemory::Commit(memory, reserved)) {
        VirtualMemory::Release(memory, reserved);
        return nullptr;
    }
    auto* const large = static_cast<LargeBlock*>(memory);
    large->reserved = reserved;
    large->resident = 0;
    return large;
}

void ReleaseLarge(LargeBlock* large) noexcept
{
    const USize reserved = large->reserved;
    Unpoison(large, reserved);
    VirtualMemory::Release(large, reserved);
}

/// Whether the words of a block agree with each other and say that it is in use.
bool IsSound(LargeBlock* large) noexcept
{
    const void* const block = GetPayload(large);
    return GetTag(block) == MakeLargeTag(block) && GetHeader(block) == (large->chunkSize | InUse);
}

/// Gives back the memory behind all but the first `bytes`.
bool DiscardTail(LargeBlock* large, USize bytes) noexcept
{
    if (large->resident <= bytes) {
        return true;
    }
    VirtualMemory::Decommit(reinterpret_cast<char*>(large) + bytes, large->resident - bytes);
    const bool usable =
        VirtualMemory::Recommit(reinterpret_cast<char*>(large) + bytes, large->resident - bytes);
    large->resident = bytes;
    return usable;
}

} // namespace

LargeBlocks& GetLargeBlocks() noexcept
{
    return largeBlocks;
}

void LargeBlocks::Validate(const void* block) noexcept
{
    LargeBlock* const large = GetLarge(block);
    BlockFault fault = BlockFault::DamagedHeader;
    {
        const CriticalSectionGuard guard(lock_);
        if (*FindLink(large) == nullptr) {
            fault = IsRetained(large) ? BlockFault::FreedTwice : BlockFault::NoBlock;
        } else if (IsSound(large)) {
            return;
        } else if (GetHeader(block) == large->chunkSize) {
            fault = BlockFault::FreedTwice;
        }
    }
    ReportDamagedBlock(block, fault);
}

void* LargeBlocks::Allocate(USize size, bool room) noexcept
{
    if (size > mostBytes) {
        return nullptr;
    }
    const USize bytes = GetPageBytes(size);
    LargeBlock* large = TakeRetained(bytes, room);
    if (large == nullptr) {
        large = ReserveLarge(room ? bytes + bytes / 2 : bytes);
        if (large == nullptr) {
            return nullptr;
        }
    }
    Describe(large, bytes);
    Unpoison(large, large->reserved);
    const CriticalSectionGuard guard(lock_);
    Link(large);
    return GetPayload(large);
}

void LargeBlocks::Free(void* block) noexcept
{
    LargeBlock* const large = GetLarge(block);
    const UInt64 now = GetMilliseconds();
    const CriticalSectionGuard guard(lock_);
    Unlink(large);
    SetHeader(block, large->chunkSize);
    Poison(block, large->chunkSize - ChunkOverhead);
    if (retainedCount_ == MostRetained) {
        retention_.NoteGivenBack(retained_[0].large->resident);
        retainedBytes_ -= retained_[0].large->resident;
        ReleaseLarge(retained_[0].large);
        std::copy(retained_ + 1, retained_ + retainedCount_, retained_);
        --retainedCount_;
    }
    retained_[retainedCount_++] = {large, now};
    retainedBytes_ += large->resident;
    Trim(now);
}

void LargeBlocks::Trim(UInt64 now) noexcept
{
    retention_.Advance(now, retainedBytes_);
    UInt32 released = 0;
    while (released < retainedCount_ && (retainedBytes_ > retention_.GetLimit() ||
                                         now - retained_[released].freedAt > Retention::KeepMilliseconds)) {
        LargeBlock* const large = retained_[released].large;
        retention_.NoteGivenBack(large->resident);
        retainedBytes_ -= large->resident;
        ReleaseLarge(large);
        ++released;
    }
    std::copy(retained_ + released, retained_ + retainedCount_, retained_);
    retainedCount_ -= released;
}

void LargeBlocks::Purge() noexcept
{
    const CriticalSectionGuard guard(lock_);
    for (UInt32 i = 0; i < retainedCount_; ++i) {
        ReleaseLarge(retained_[i].large);
    }
    retainedCount_ = 0;
    retainedBytes_ = 0;
    retention_ = Retention();
}

/// The smallest retained reservation that is large enough and not much too large.
LargeBlock* LargeBlocks::TakeRetained(USize bytes, bool room) noexcept
{
    const USize most = room ? 8 * bytes : 2 * bytes;
    LargeBlock* large;
    {
        const CriticalSectionGuard guard(lock_);
        Retained* best = nullptr;
        for (UInt32 i = 0; i < retainedCount_; ++i) {
            const USize reserved = retained_[i].large->reserved;
            if (reserved >= bytes && reserved <= most &&
                (best == nullptr || reserved < best->large->reserved)) {
                best = &retained_[i];
            }
        }
        if (best == nullptr) {
            retention_.NoteRefilled(bytes);
            return nullptr;
        }
        large = best->large;
        std::copy(best + 1, retained_ + retainedCount_, best);
        --retainedCount_;
        retainedBytes_ -= large->resident;
        retention_.NoteKept(retainedBytes_);
    }
    if (!room && !DiscardTail(large, bytes + bytes / 4 / 4096 * 4096)) {
        ReleaseLarge(large);
        return nullptr;
    }
    return large;
}

void* LargeBlocks::Resize(void* block, USize size) noexcept
{
    if (size > mostBytes) {
        return nullptr;
    }
    LargeBlock* large = GetLarge(block);
    const USize bytes = GetPageBytes(size);
    const CriticalSectionGuard guard(lock_);
    Unlink(large);
    const USize least = RoundReservation(bytes);
    if (least > large->reserved || least < large->reserved / 4) {
        const USize wanted = least > large->reserved ? RoundReservation(bytes + bytes / 2) : least;
        auto* const moved = static_cast<LargeBlock*>(VirtualMemory::Resize(large, large->reserved, wanted));
        if (moved == nullptr) {
            Link(large);
            return nullptr;
        }
        large = moved;
        large->reserved = wanted;
        large->resident = std::min(large->resident, wanted);
    } else if (size < GetUsableSize(GetHeader(block)) && bytes < large->resident / 2 &&
               !DiscardTail(large, bytes)) {
        large->reserved = bytes; // the tail is lost: never grow into it
    }
    Describe(large, bytes);
    Link(large);
    return GetPayload(large);
}

/// Where the pointer to a block in use is, or the null pointer at its chain's end.
LargeBlock** LargeBlocks::FindLink(const LargeBlock* large) noexcept
{
    const UInt64 mixed = reinterpret_cast<UInt64>(large) / 4096 * 0x9E3779B97F4A7C15;
    LargeBlock** link = &used_[mixed >> (64 - ChainBits)];
    while (*link != nullptr && *link != large) {
        link = &(*link)->next;
    }
    return link;
}

bool LargeBlocks::IsRetained(const LargeBlock* large) const noexcept
{
    return std::any_of(retained_, retained_ + retainedCount_,
                       [large](const Retained& retained) { return retained.large == large; });
}

void LargeBlocks::Link(LargeBlock* large) noexcept
{
    LargeBlock** const link = FindLink(large);
    large->next = nullptr;
    *link = large;
    usedBytes_ += large->resident;
}

void LargeBlocks::Unlink(LargeBlock* large) noexcept
{
    *FindLink(large) = large->next;
    usedBytes_ -= large->resident;
}

LargeBlockStatistics LargeBlocks::GetStatistics() noexcept
{
    const CriticalSectionGuard guard(lock_);
    return {usedBytes_, retainedBytes_};
}

bool LargeBlocks::Check() noexcept
{
    const CriticalSectionGuard guard(lock_);
    for (LargeBlock* large : used_) {
        for (; large != nullptr; large = large->next) {
            if (!IsSound(large)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace QV::Impl::Pooled
