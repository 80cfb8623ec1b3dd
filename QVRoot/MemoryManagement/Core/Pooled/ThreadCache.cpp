#include <QVRoot/MemoryManagement/Core/Pooled/ThreadCacheImpl.hpp>

#include <QVRoot/MemoryManagement/Core/Pooled/CentralListImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/MetadataImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <new>

namespace QV::Impl::Pooled {

constinit Magazine noMagazine{};

/// What threads have after theirs was taken apart: whatever still runs on them is served without a cache.
constinit ThreadCache ThreadCache::ended;

/// The caches of threads that have ended, for the next ones.
struct ThreadCacheStore {
    SpinLock lock;
    ThreadCache* unused = nullptr;

    ThreadCache* Take() noexcept
    {
        {
            const SpinLockGuard guard(lock);
            if (ThreadCache* const cache = unused) {
                unused = cache->nextUnused_;
                return cache;
            }
        }
        void* const memory = AllocateMetadata(sizeof(ThreadCache), 64);
        return memory == nullptr ? nullptr : new (memory) ThreadCache;
    }
    void PutBack(ThreadCache* cache) noexcept
    {
        const SpinLockGuard guard(lock);
        cache->nextUnused_ = unused;
        unused = cache;
    }
};

namespace {

constexpr UInt8 firstRefill = 4;

constinit ThreadCacheStore store;

} // namespace

ThreadCache* ThreadCache::GetOrCreate() noexcept
{
    ThreadCache* const cache = GetIfAny();
    if (cache == nullptr) {
        return Create();
    }
    return cache == &ended ? nullptr : cache;
}

ThreadCache* ThreadCache::Create() noexcept
{
    static constinit ThreadSlot atThreadEnd(&ThreadCache::EndThread);
    if (!ThreadCachePointer::Prepare()) {
        return nullptr;
    }
    ThreadCache* const cache = store.Take();
    if (cache == nullptr) {
        return nullptr;
    }
    for (UInt32 i = 0; i < ClassCount; ++i) {
        cache->GetBin(i).usedHeader = classInfos[i].chunkSize | InUse;
        cache->refillCount_[i] = firstRefill;
    }
    ThreadCachePointer::Set(cache);
    atThreadEnd.Set(cache);
    return cache;
}

void ThreadCache::EndThread(void* value) noexcept
{
    auto* const cache = static_cast<ThreadCache*>(value);
    ThreadCachePointer::Set(&ended);
    cache->Flush();
    store.PutBack(cache);
}

void* ThreadCache::AllocateSlowly(UInt32 sizeClass) noexcept
{
    ThreadCache* const cache = GetOrCreate();
    if (cache != nullptr && cache->Refill(sizeClass)) [[likely]] {
        return cache->Pop(sizeClass);
    }
    void* const block = GetCentralList(sizeClass).AllocateOne(sizeClass);
    if (block != nullptr) {
        const UInt64 chunkSize = classInfos[sizeClass].chunkSize;
        SetHeader(block, chunkSize | InUse);
        Unpoison(block, chunkSize - ChunkOverhead);
    }
    return block;
}

void ThreadCache::FreeSlowly(UInt32 sizeClass, void* block) noexcept
{
    ThreadCache* const cache = GetOrCreate();
    if (cache != nullptr && cache->MakeRoom(sizeClass) && cache->Push(block)) [[likely]] {
        return;
    }
    const UInt64 chunkSize = classInfos[sizeClass].chunkSize;
    SetHeader(block, chunkSize);
    Poison(block, chunkSize - ChunkOverhead);
    GetCentralList(sizeClass).FreeOne(sizeClass, block);
}

/// Loads a magazine that has blocks.
bool ThreadCache::Refill(UInt32 sizeClass) noexcept
{
    Bin& bin = GetBin(sizeClass);
    if (bin.top[-1] != nullptr) {
        return true;
    }
    if (bin.second != nullptr && bin.second->count != 0) {
        Magazine* const full = bin.second;
        bin.second = Unload(bin);
        Load(sizeClass, full);
        return true;
    }
    const UInt32 capacity = classInfos[sizeClass].magazineCapacity;
    const UInt32 wanted = refillCount_[sizeClass] < capacity ? refillCount_[sizeClass] : capacity;
    refillCount_[sizeClass] =
        static_cast<UInt8>(2 * wanted < MaxMagazineCapacity ? 2 * wanted : MaxMagazineCapacity);
    Magazine* const full = GetCentralList(sizeClass).ExchangeEmpty(sizeClass, Unload(bin), wanted);
    if (full == nullptr) {
        return false;
    }
    Load(sizeClass, full);
    return true;
}

/// Loads a magazine that has room.
bool ThreadCache::MakeRoom(UInt32 sizeClass) noexcept
{
    Bin& bin = GetBin(sizeClass);
    if (bin.top != bin.end) {
        return true;
    }
    Magazine* const loaded = Unload(bin);
    Magazine* empty = bin.second;
    if (empty == nullptr || empty->count != 0) {
        empty = GetCentralList(sizeClass).ExchangeFull(sizeClass, empty);
        if (empty == nullptr) {
            bin.second = nullptr;
            return false;
        }
    }
    bin.second = loaded;
    Load(sizeClass, empty);
    return true;
}

void ThreadCache::Load(UInt32 sizeClass, Magazine* magazine) noexcept
{
    Bin& bin = GetBin(sizeClass);
    bin.top = magazine->blocks + magazine->count;
    bin.end = magazine->blocks + classInfos[sizeClass].magazineCapacity;
}

/// The loaded magazine with its count set, or null. It stays loaded.
Magazine* ThreadCache::Unload(Bin& bin) noexcept
{
    Magazine* const magazine = GetMagazine(bin.top);
    if (magazine == &noMagazine) {
        return nullptr;
    }
    magazine->count = static_cast<USize>(bin.top - magazine->blocks);
    return magazine;
}

void ThreadCache::FlushCurrent() noexcept
{
    ThreadCache* const cache = GetIfAny();
    if (cache != nullptr && cache != &ended) {
        cache->Flush();
    }
}

void ThreadCache::Flush() noexcept
{
    for (UInt32 sizeClass = 0; sizeClass < ClassCount; ++sizeClass) {
        Bin& bin = GetBin(sizeClass);
        for (Magazine* const magazine : {Unload(bin), bin.second}) {
            if (magazine != nullptr) {
                GetCentralList(sizeClass).Retire(sizeClass, magazine);
            }
        }
        bin.top = bin.end = noMagazine.blocks;
        bin.second = nullptr;
    }
}

} // namespace QV::Impl::Pooled
