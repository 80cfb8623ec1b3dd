#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/MemoryManagement/Core/AllocationFailureImpl.hpp>
#include <QVRoot/MemoryManagement/Core/BackEndChoiceImpl.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManagerImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Pooled/FastPathsImpl.hpp>
#include <QVRoot/MemoryManagement/Core/SystemHeapImpl.hpp>

#include <atomic>
#include <cstring>
#include <new>

namespace QV {

namespace {

/// The back end's functions, filled once. The allocate slot is written last and tested first.
struct Slots {
    std::atomic<void* (*)(USize)> allocate = nullptr;
    std::atomic<void* (*)(void*, USize)> reallocate = nullptr;
    std::atomic<void (*)(void*)> free = nullptr;
    /// Whether they are the pooled heap's own. Its usual path is short enough to be taken without a call.
    std::atomic<bool> arePooled = false;
};

constinit Slots slots;
constinit std::atomic<MemoryManager*> instance = nullptr;
alignas(Impl::MemoryManagerImpl) constinit char instanceStorage[sizeof(Impl::MemoryManagerImpl)] = {};

void FillSlots() noexcept
{
    const Impl::BackEnd& backEnd = Impl::GetBackEnd();
    slots.reallocate.store(backEnd.reallocate, std::memory_order_relaxed);
    slots.free.store(backEnd.free, std::memory_order_relaxed);
    slots.allocate.store(backEnd.allocate, std::memory_order_release);
    slots.arePooled.store(&backEnd == &Impl::GetPooledHeap(), std::memory_order_release);
}

auto GetAllocateSlot() noexcept
{
    auto function = slots.allocate.load(std::memory_order_acquire);
    if (function == nullptr) [[unlikely]] {
        FillSlots();
        function = slots.allocate.load(std::memory_order_relaxed);
    }
    return function;
}

auto GetReallocateSlot() noexcept
{
    GetAllocateSlot();
    return slots.reallocate.load(std::memory_order_relaxed);
}

auto GetFreeSlot() noexcept
{
    GetAllocateSlot();
    return slots.free.load(std::memory_order_relaxed);
}

void* AllocateFromSlot(USize size, MemoryManager::ExceptionBehaviour behaviour, bool report)
{
    void* const block = GetAllocateSlot()(size);
    return block != nullptr ? block : Impl::AllocateAfterFailure(size, behaviour, report);
}

/// Where an aligned block keeps the address of the block that it was cut from.
void* LoadRawAddress(const void* block) noexcept
{
    void* raw;
    std::memcpy(&raw, static_cast<const char*>(block) - sizeof(raw), sizeof(raw));
    return raw;
}

} // namespace

MemoryAllocationFailureHandler::~MemoryAllocationFailureHandler() = default;

MemoryManager::~MemoryManager() = default;

void* MemoryManager::Allocate(USize size, ExceptionBehaviour behaviour, bool report)
{
    if (slots.arePooled.load(std::memory_order_acquire)) {
        if (void* const block = Impl::Pooled::TryAllocate(size)) [[likely]] {
            return block;
        }
    }
    return AllocateFromSlot(size, behaviour, report);
}

void* MemoryManager::Reallocate(void* block, USize size, ExceptionBehaviour behaviour, bool report)
{
    if (block == nullptr) {
        return GetAllocateSlot()(size);
    }
    if (size == 0) {
        Free(block);
        return nullptr;
    }
    void* const resized = GetReallocateSlot()(block, size);
    return resized != nullptr ? resized : Impl::ReallocateAfterFailure(block, size, behaviour, report);
}

void MemoryManager::Free(void* block)
{
    if (!slots.arePooled.load(std::memory_order_acquire) || !Impl::Pooled::TryFree(block)) {
        GetFreeSlot()(block);
    }
}

USize MemoryManager::MSize(void* block)
{
    return block == nullptr ? 0 : Impl::GetBackEnd().msize(block);
}

void* MemoryManager::AlignedAllocate(USize size, USize alignment, ExceptionBehaviour behaviour, bool report)
{
    const USize overhead = sizeof(void*) + alignment;
    const bool overflows = overhead < alignment || size + overhead < size;
    void* const raw = Allocate(overflows ? ~USize{0} : size + overhead, behaviour, report);
    if (raw == nullptr) {
        return nullptr;
    }
    const USize start = reinterpret_cast<USize>(raw) + sizeof(void*);
    char* const block = reinterpret_cast<char*>(start + alignment - start % alignment);
    std::memcpy(block - sizeof(raw), &raw, sizeof(raw));
    return block;
}

void MemoryManager::AlignedFree(void* block)
{
    Free(LoadRawAddress(block));
}

USize MemoryManager::AlignedMsize(void* block, USize alignment)
{
    return block == nullptr ? 0 : MSize(LoadRawAddress(block)) - sizeof(void*) - alignment;
}

int MemoryManager::HeapCheck()
{
    return Impl::GetBackEnd().heapCheck() ? 1 : 0;
}

bool MemoryManager::IsDebugAllocationEnabled()
{
    if (!std::atomic_ref(MemoryManagerUtil::flagsInitialized).load(std::memory_order_relaxed)) {
        MemoryManagerUtil::InitializeFlags();
    }
    if (!Impl::IsProtectedAllocationEnabled() && !Impl::SystemHeap::IsPageHeapEnabled()) {
        return false;
    }
    return !std::atomic_ref(MemoryManagerUtil::debugAllocationOverridden).load(std::memory_order_relaxed);
}

MemoryManager& MemoryManager::GetInstance()
{
    MemoryManager* manager = instance.load(std::memory_order_acquire);
    if (manager == nullptr) {
        const Impl::CriticalSectionGuard guard(Impl::GetSingletonLock());
        manager = instance.load(std::memory_order_relaxed);
        if (manager == nullptr) {
            // In storage of its own and never destroyed: handlers may be asked until the process ends.
            manager = new (instanceStorage) Impl::MemoryManagerImpl;
            instance.store(manager, std::memory_order_release);
        }
    }
    return *manager;
}

MemoryManager* Impl::GetManagerIfAny() noexcept
{
    return instance.load(std::memory_order_acquire);
}

namespace MemoryManagerUtil {

bool flagsInitialized = false;
bool debugAllocationOverridden = false;

void InitializeFlags()
{
    // Two threads may both come here; both find the same value.
    std::atomic_ref(flagsInitialized).store(true, std::memory_order_relaxed);
    const bool enforced = DBGetBool(Impl::MemoryManagerSection, "enforceDebugAllocation", true);
    std::atomic_ref(debugAllocationOverridden).store(!enforced, std::memory_order_relaxed);
}

} // namespace MemoryManagerUtil

} // namespace QV
