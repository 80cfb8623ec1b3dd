#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

#include <QVRoot/Threading/LockGuard.hpp>
#include <QVRoot/Threading/SingletonLock.hpp>

#include <memory>
#include <utility>

namespace QV {

namespace {

constexpr USize GlobalMaximum = 512;
constexpr USize TooMuch = ~USize{0};

/// Allocators lie in one piece, each where what the usual operations touch fills one cache line exactly,
/// which it shares with no other allocator.
constexpr USize CacheLine = 64;
constexpr USize Distance = 2 * CacheLine;
constexpr USize FirstHotByte = sizeof(void*) + sizeof(NonThreadSafeClass);
constexpr USize Offset = CacheLine - FirstHotByte;
static_assert(sizeof(ThreadSafeFixedAllocator) == FirstHotByte + CacheLine);

void* AllocateMemory(USize size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

} // namespace

SmallObjAllocator::SmallObjAllocator(USize maximumObjectSize, bool releaseEmptyPages, bool isThreadSafe)
    : releaseEmptyPages_(releaseEmptyPages), isThreadSafe_(isThreadSafe), isBuilt_(true)
{
    if (maximumObjectSize != 0 && !MemoryManager::IsDebugAllocationEnabled()) {
        allocators_ = MakeAllocators(maximumObjectSize);
        maximumObjectSize_ = maximumObjectSize;
    }
}

SmallObjAllocator::~SmallObjAllocator()
{
    DestroyAllocators(allocators_, maximumObjectSize_);
}

FixedAllocator** SmallObjAllocator::MakeAllocators(USize count)
{
    const bool isTooMuch = count > TooMuch / Distance - 1;
    const auto release = [](void* memory) { MemoryManager::Free(memory); };
    std::unique_ptr<void, decltype(release)> table(
        AllocateMemory(isTooMuch ? TooMuch : (count + 1) * sizeof(FixedAllocator*)), release);
    char* place = static_cast<char*>(
        MemoryManager::AlignedAllocate(count * Distance, CacheLine, MemoryManager::ThrowOnFailure, true));
    auto** const allocators = static_cast<FixedAllocator**>(table.release());
    allocators[0] = nullptr;
    for (USize size = 1; size <= count; ++size, place += Distance) {
        if (isThreadSafe_) {
            allocators[size] = new (place + Offset) ThreadSafeFixedAllocator(size, releaseEmptyPages_, this);
        } else {
            allocators[size] = new (place + Offset) FixedAllocator(size, releaseEmptyPages_, false, this);
        }
    }
    return allocators;
}

void SmallObjAllocator::DestroyAllocators(FixedAllocator** allocators, USize count) noexcept
{
    if (allocators == nullptr) {
        return;
    }
    void* const memory = reinterpret_cast<char*>(allocators[1]) - Offset;
    for (USize size = 1; size <= count; ++size) {
        allocators[size]->~FixedAllocator();
    }
    MemoryManager::AlignedFree(memory);
    MemoryManager::Free(allocators);
}

/// Makes the allocators of the process's pool. Two threads, or a failure handler that allocates here, may
/// come at the same time: the first to be ready wins.
void SmallObjAllocator::Build(USize maximumObjectSize)
{
    const bool isUsed = !MemoryManager::IsDebugAllocationEnabled();
    FixedAllocator** allocators = isUsed ? MakeAllocators(maximumObjectSize) : nullptr;
    {
        const LockGuard guard(SingletonLock::GetLock());
        if (!isBuilt_) {
            std::swap(allocators_, allocators);
            AtomicStore(&maximumObjectSize_, isUsed ? maximumObjectSize : 0);
            AtomicStore(&isBuilt_, true);
        }
    }
    DestroyAllocators(allocators, maximumObjectSize);
}

/// For what no allocator serves: large blocks, size 0, and all that comes before the allocators are made.
void* SmallObjAllocator::AllocateOtherwise(USize size)
{
    if (!AtomicLoad(&isBuilt_)) {
        Build(GlobalMaximum);
        return Allocate(size);
    }
    const bool isTooMuch = size > TooMuch - sizeof(Header);
    auto* const header = static_cast<Header*>(AllocateMemory(isTooMuch ? TooMuch : size + sizeof(Header)));
    header->page = nullptr;
    return header + 1;
}

void SmallObjAllocator::Purge()
{
    if (releaseEmptyPages_) {
        return;
    }
    for (USize size = 1; size <= maximumObjectSize_; ++size) {
        allocators_[size]->Purge();
    }
}

void SmallObjAllocator::LeaveThread() noexcept
{
    DetachThread();
    const USize count = GetMaximum();
    for (USize size = 1; size <= count; ++size) {
        allocators_[size]->DetachThread();
    }
}

namespace Impl {

/// Keeps the pool from being destroyed.
struct LastingObjPool {
    constexpr LastingObjPool() noexcept : pool() {}
    ~LastingObjPool() {}

    union {
        SmallObjAllocator pool;
    };
};

} // namespace Impl

namespace {

constinit Impl::LastingObjPool lastingPool;

} // namespace

constinit SmallObjAllocator& threadSafeGlobalObjPool = lastingPool.pool;

} // namespace QV
