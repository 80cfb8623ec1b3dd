/// A thread's own blocks: for each class a loaded magazine to take from and to add to, and a second one, so
/// that a thread at the edge of a magazine does not call on the central list with every block.
#pragma once

#include <QVRoot/MemoryManagement/Core/Pooled/ArenaImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/BlockImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/MagazineImpl.hpp>

#include <ThreadCachePointerImpl.hpp>

namespace QV::Impl::Pooled {

/// An empty magazine without room, for threads that have none loaded. Never written.
extern Magazine noMagazine;

class ThreadCache {
public:
    constexpr ThreadCache() noexcept = default;

    /// The calling thread's cache: null when it has none, or an empty one that stays empty when its cache has
    /// already been taken apart.
    static ThreadCache* GetIfAny() noexcept { return static_cast<ThreadCache*>(ThreadCachePointer::Get()); }

    /// A block of a class from the loaded magazine, or null.
    void* Pop(UInt32 sizeClass) noexcept
    {
        Bin& bin = bins_[sizeClass + 1];
        void** const top = bin.top - 1;
        void* const block = *top;
        if (block != nullptr) [[likely]] {
            bin.top = top;
            SetHeader(block, bin.usedHeader);
            Unpoison(block, bin.usedHeader - InUse - ChunkOverhead);
        }
        return block;
    }

    /// Takes a block when its words are sound and the loaded magazine has room.
    bool Push(void* block) noexcept
    {
        // The class is taken from the block's address, so that nothing waits for the block's own memory,
        // which may be far away; that the words agree with it is checked beside. What is no block has no
        // class, and there is no room for it: its memory is not touched.
        Bin& bin = bins_[arena.GetClassMark(block)];
        void** const top = bin.top;
        if (top == bin.end) [[unlikely]] {
            return false;
        }
        const UInt64 usedHeader = bin.usedHeader;
        if (GetTag(block) != MakeTag(block) || GetHeader(block) != usedHeader) [[unlikely]] {
            return false;
        }
        SetHeader(block, usedHeader - InUse);
        Poison(block, usedHeader - InUse - ChunkOverhead);
        *top = block;
        bin.top = top + 1;
        return true;
    }

    /// The ways around an empty or full magazine, with or without a cache. The block of `Free` is sound and
    /// in use.
    static void* AllocateSlowly(UInt32 sizeClass) noexcept;
    static void FreeSlowly(UInt32 sizeClass, void* block) noexcept;

    /// Gives all of the calling thread's blocks to the central lists.
    static void FlushCurrent() noexcept;

private:
    struct Bin {
        void** top = &noMagazine.blocks[0]; ///< behind the topmost block of the loaded magazine
        void** end = &noMagazine.blocks[0]; ///< where `top` is when the magazine is full
        UInt64 usedHeader = 0;              ///< of the class's blocks
        Magazine* second = nullptr;         ///< empty or full; there only when one is loaded
    };

    static ThreadCache* GetOrCreate() noexcept;
    static ThreadCache* Create() noexcept;
    static void EndThread(void* cache) noexcept;

    bool Refill(UInt32 sizeClass) noexcept;
    bool MakeRoom(UInt32 sizeClass) noexcept;
    void Load(UInt32 sizeClass, Magazine* magazine) noexcept;
    Magazine* Unload(Bin& bin) noexcept;
    void Flush() noexcept;

    Bin& GetBin(UInt32 sizeClass) noexcept { return bins_[sizeClass + 1]; }

    Bin bins_[ClassCount + 1]; ///< by class mark: the first one is for what is no block, and stays empty
    UInt8 refillCount_[ClassCount] = {};
    ThreadCache* nextUnused_ = nullptr;

    static constinit ThreadCache ended;
    friend struct ThreadCacheStore;
};

} // namespace QV::Impl::Pooled
