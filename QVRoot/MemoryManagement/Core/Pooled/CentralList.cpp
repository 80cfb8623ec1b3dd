#include <QVRoot/MemoryManagement/Core/Pooled/CentralListImpl.hpp>

#include <QVRoot/MemoryManagement/Core/Pooled/ArenaImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/BlockImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/DamagedBlockImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/MetadataImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/PageHeapImpl.hpp>

#include <bit>
#include <new>

namespace QV::Impl::Pooled {

namespace {

constinit CentralList centralLists[ClassCount];

void FreeSpans(Span* chain) noexcept
{
    if (chain != nullptr) {
        GetPageHeap().Free(chain);
    }
}

/// Turns a run of pages into a span whose blocks all are free.
void MakeBlocks(Span* span) noexcept
{
    const UInt32 blocks = classInfos[span->sizeClass].blocksPerSpan;
    span->freeBlocks = static_cast<UInt16>(blocks);
    for (UInt32 word = 0; word < MaxBlocksPerSpan / 64; ++word) {
        const UInt32 rest = blocks > word * 64 ? blocks - word * 64 : 0;
        span->freeBits[word] = rest >= 64 ? ~UInt64{0} : (UInt64{1} << rest) - 1;
    }
}

} // namespace

CentralList& GetCentralList(UInt32 sizeClass) noexcept
{
    return centralLists[sizeClass];
}

Magazine* CentralList::TakeEmpty() noexcept
{
    {
        const SpinLockGuard guard(lock_);
        if (Magazine* const magazine = empty_.Pop()) {
            return magazine;
        }
    }
    void* const memory = AllocateMetadata(sizeof(Magazine), alignof(Magazine));
    return memory == nullptr ? nullptr : new (memory) Magazine{};
}

Magazine* CentralList::ExchangeEmpty(UInt32 sizeClass, Magazine* empty, UInt32 wanted) noexcept
{
    {
        const SpinLockGuard guard(lock_);
        if (Magazine* const full = full_.Pop()) {
            if (empty != nullptr) {
                empty_.Push(empty);
            }
            return full;
        }
    }
    Magazine* const magazine = empty != nullptr ? empty : TakeEmpty();
    if (magazine == nullptr) {
        return nullptr;
    }
    magazine->count = TakeBlocks(sizeClass, magazine->blocks, wanted);
    if (magazine->count == 0) {
        if (empty == nullptr) {
            Retire(sizeClass, magazine);
        }
        return nullptr;
    }
    return magazine;
}

Magazine* CentralList::ExchangeFull(UInt32 sizeClass, Magazine* full) noexcept
{
    if (full == nullptr) {
        return TakeEmpty();
    }
    Span* whole = nullptr;
    Magazine* empty;
    {
        const SpinLockGuard guard(lock_);
        // Now and then blocks go back to their spans although there is room: those that circulate would end
        // up scattered over the whole heap, each on a page of its own. What replaces them lies together.
        constexpr UInt32 renewal = 16;
        const bool overflows = full_.GetCount() >= classInfos[sizeClass].depotLimit;
        if (!overflows && ++exchanges_ % renewal != 0) {
            full_.Push(full);
            empty = empty_.Pop();
        } else {
            empty = full;
            whole = Empty(sizeClass, full, nullptr);
            whole = overflows ? ReturnSomeMagazines(sizeClass, whole) : whole;
        }
    }
    FreeSpans(whole);
    return empty != nullptr ? empty : TakeEmpty();
}

/// Returns a magazine's blocks to their spans, as `ReturnBlocks` does.
Span* CentralList::Empty(UInt32 sizeClass, Magazine* magazine, Span* whole) noexcept
{
    whole = ReturnBlocks(sizeClass, magazine->blocks, magazine->count, whole);
    magazine->count = 0;
    return whole;
}

/// Makes room for several magazines at once, when there is none for one: what is freed in quantity should not
/// leave its last blocks behind, each of which keeps a span from being whole.
Span* CentralList::ReturnSomeMagazines(UInt32 sizeClass, Span* whole) noexcept
{
    constexpr UInt32 some = 4;
    for (UInt32 i = 0; i < some; ++i) {
        Magazine* const magazine = full_.Pop();
        if (magazine == nullptr) {
            break;
        }
        whole = Empty(sizeClass, magazine, whole);
        empty_.Push(magazine);
    }
    return whole;
}

void CentralList::Retire(UInt32 sizeClass, Magazine* magazine) noexcept
{
    Span* whole = nullptr;
    {
        const SpinLockGuard guard(lock_);
        whole = Empty(sizeClass, magazine, nullptr);
        empty_.Push(magazine);
    }
    FreeSpans(whole);
}

void CentralList::Flush(UInt32 sizeClass) noexcept
{
    for (;;) {
        Magazine* full;
        {
            const SpinLockGuard guard(lock_);
            full = full_.Pop();
        }
        if (full == nullptr) {
            return;
        }
        Retire(sizeClass, full);
    }
}

void* CentralList::AllocateOne(UInt32 sizeClass) noexcept
{
    void* block = nullptr;
    TakeBlocks(sizeClass, &block, 1);
    return block;
}

void CentralList::FreeOne(UInt32 sizeClass, void* block) noexcept
{
    Span* whole;
    {
        const SpinLockGuard guard(lock_);
        whole = ReturnBlocks(sizeClass, &block, 1, nullptr);
    }
    FreeSpans(whole);
}

UInt32 CentralList::TakeBlocks(UInt32 sizeClass, void** blocks, UInt32 wanted) noexcept
{
    UInt32 taken = 0;
    {
        const SpinLockGuard guard(lock_);
        while (taken < wanted && partial_.GetFirst() != nullptr) {
            Span* const span = partial_.GetFirst();
            taken += TakeBlocksOfSpan(span, blocks + taken, wanted - taken);
            if (span->freeBlocks == 0) {
                partial_.Remove(span);
            }
        }
    }
    return taken != 0 ? taken : TakeBlocksOfNewSpan(sizeClass, blocks, wanted);
}

UInt32 CentralList::TakeBlocksOfNewSpan(UInt32 sizeClass, void** blocks, UInt32 wanted) noexcept
{
    Span* const span = GetPageHeap().Allocate(sizeClass);
    if (span == nullptr) {
        return 0;
    }
    MakeBlocks(span);
    const UInt32 taken = TakeBlocksOfSpan(span, blocks, wanted);
    const SpinLockGuard guard(lock_);
    span->hasBlocks = true;
    if (span->freeBlocks != 0) {
        partial_.PushFront(span);
    }
    return taken;
}

/// The blocks of the lowest addresses, the lowest on top.
UInt32 CentralList::TakeBlocksOfSpan(Span* span, void** blocks, UInt32 wanted) noexcept
{
    const UInt32 sizeClass = span->sizeClass;
    const UInt64 chunkSize = classInfos[sizeClass].chunkSize;
    const UInt32 count = wanted < span->freeBlocks ? wanted : span->freeBlocks;
    char* const payload = GetStart(span) + ChunkOverhead;
    UInt32 left = count;
    for (UInt32 word = 0; left != 0; ++word) {
        UInt64 bits = span->freeBits[word];
        for (; bits != 0 && left != 0; bits &= bits - 1) {
            const UInt32 index = word * 64 + static_cast<UInt32>(std::countr_zero(bits));
            char* const block = payload + index * chunkSize;
            if (index >= span->cutBlocks) {
                span->cutBlocks = static_cast<UInt16>(index + 1);
                SetTag(block, MakeTag(block));
                SetHeader(block, chunkSize);
                Poison(block, chunkSize - ChunkOverhead);
            } else if (GetHeader(block) != chunkSize || GetTag(block) != MakeTag(block)) {
                ReportDamagedBlock(block, BlockFault::DamagedWhileFree);
            }
            blocks[--left] = block;
        }
        span->freeBits[word] = bits;
    }
    span->freeBlocks = static_cast<UInt16>(span->freeBlocks - count);
    return count;
}

/// Puts blocks back into their spans. Spans that have all their blocks again leave the list; they are
/// prepended to the chain `whole`, which is returned.
Span* CentralList::ReturnBlocks(UInt32 sizeClass, void** blocks, USize count, Span* whole) noexcept
{
    const ClassInfo& info = classInfos[sizeClass];
    for (USize i = 0; i < count; ++i) {
        Span* const span = GetSpan(blocks[i]);
        const UInt32 index =
            GetBlockIndex(info, static_cast<USize>(static_cast<char*>(blocks[i]) - GetStart(span)));
        UInt64& bits = span->freeBits[index / 64];
        const UInt64 bit = UInt64{1} << (index % 64);
        if ((bits & bit) != 0) {
            ReportDamagedBlock(blocks[i], BlockFault::FreedTwice);
        }
        bits |= bit;
        if (++span->freeBlocks == info.blocksPerSpan) {
            if (info.blocksPerSpan != 1) {
                partial_.Remove(span);
            }
            span->hasBlocks = false;
            span->next = whole;
            whole = span;
        } else if (span->freeBlocks == 1) {
            partial_.PushFront(span);
        }
    }
    return whole;
}

bool CentralList::CheckSpan(const Span* span) noexcept
{
    const UInt32 sizeClass = span->sizeClass;
    const UInt64 chunkSize = classInfos[sizeClass].chunkSize;
    const char* const payload = GetStart(span) + ChunkOverhead;
    const SpinLockGuard guard(lock_);
    if (!span->hasBlocks) {
        return true;
    }
    UInt32 freeBlocks = 0;
    for (UInt32 index = 0; index < classInfos[sizeClass].blocksPerSpan; ++index) {
        const char* const block = payload + index * chunkSize;
        const bool isFree = (span->freeBits[index / 64] >> (index % 64) & 1) != 0;
        freeBlocks += isFree ? 1 : 0;
        if (index >= span->cutBlocks) {
            continue;
        }
        const UInt64 header = GetHeader(block);
        if (GetTag(block) != MakeTag(block) ||
            (header != chunkSize && (isFree || header != (chunkSize | InUse)))) {
            return false;
        }
    }
    return freeBlocks == span->freeBlocks;
}

} // namespace QV::Impl::Pooled
