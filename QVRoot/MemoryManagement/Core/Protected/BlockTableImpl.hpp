/// What the guarded allocator knows of its blocks, kept apart from them.
#pragma once

#include <QVRoot/MemoryManagement/Core/ReservedArrayImpl.hpp>

namespace QV::Impl {

enum class BlockState : UInt32 {
    Unused,     ///< the record waits for a block
    Live,       ///< the block is in use
    Freed,      ///< the record is kept to recognise a second free
    Superseded, ///< freed, and its address belongs to another block by now
};

struct BlockRecord {
    char* block;
    USize size;  ///< as asked for
    char* begin; ///< the accessible bytes around the block, whose unused part holds a pattern
    char* end;
    char* region; ///< the pages with their guard; null for a block of the system heap
    USize regionSize;
    BlockState state;
    UInt32 nextInChain; ///< indexes count from 1, 0 is the end
    UInt32 nextInLine;
};

/// Who did something to a block.
struct CapturedStack {
    static constexpr UInt32 MaxDepth = 32;

    UInt64 thread;
    UInt32 depth;
    void* addresses[MaxDepth];
};

struct BlockStacks {
    CapturedStack allocated;
    CapturedStack freed;
};

/// The records, found by their block's address. The caller holds the lock. Freed blocks are remembered, the
/// oldest being forgotten first: in lockdown only when there is no room left, else beyond a few thousand.
class BlockTable {
public:
    constexpr BlockTable() noexcept = default;

    void Initialize(bool lockdown, bool withStacks) noexcept;

    /// The record of a live or freed block, or null.
    BlockRecord* Find(const void* block) noexcept;

    /// The record of the block whose memory or guard the address lies in, preferably of a live one, or null.
    BlockRecord* FindAround(const void* address) noexcept;

    /// Enters a live block. Null when there is no room.
    BlockRecord* Insert(const BlockRecord& block) noexcept;

    void MarkFreed(BlockRecord& record) noexcept;

    /// The stacks of a record, or null when none are kept.
    BlockStacks* GetStacks(const BlockRecord& record) noexcept;

    /// Calls `visit(record)` for all records until it answers true; returns that one, or null.
    template <class Visitor>
    BlockRecord* FindIf(Visitor visit) noexcept
    {
        for (UInt32 index = 1; index <= count_; ++index) {
            if (visit(records_[index])) {
                return &records_[index];
            }
        }
        return nullptr;
    }

private:
    static constexpr UInt32 ChainCount = 65536;
    static constexpr UInt32 MaxRecords = 1u << 24;

    UInt32& GetChain(const void* block) noexcept;
    UInt32 GetIndex(const BlockRecord& record) const noexcept;
    UInt32 TakeRecord() noexcept;
    bool AddRecord() noexcept;
    void Unlink(const BlockRecord& record) noexcept;
    void ForgetOldest() noexcept;

    ReservedArray<UInt32> chains_;
    ReservedArray<BlockRecord> records_;
    ReservedArray<BlockStacks> stacks_;
    bool withStacks_ = false;
    UInt32 count_ = 0;       ///< records made so far
    UInt32 unused_ = 0;      ///< the first of those that wait for a block
    UInt32 oldestFreed_ = 0; ///< the line of the freed ones
    UInt32 newestFreed_ = 0;
    UInt32 freedCount_ = 0;
    UInt32 freedLimit_ = 0;
};

} // namespace QV::Impl
