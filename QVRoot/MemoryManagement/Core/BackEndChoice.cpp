#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/MemoryManagement/Core/BackEndChoiceImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <atomic>

namespace QV::Impl {

namespace {

constinit std::atomic<const BackEnd*> chosenBackEnd = nullptr;
constinit CriticalSection choiceLock;

const BackEnd& ChooseHeap() noexcept
{
    if (IsProtectedAllocationEnabled()) {
        return GetProtectedHeap();
    }
    const bool pooled = DBGetLong(MemoryManagerSection, "memoryManagerType", 0) == 1;
    const BackEnd& heap = pooled ? GetPooledHeap() : GetSystemHeap();
    if (DBGetBool(MemoryManagerSection, "traceMemoryManager", false)) {
        DBPrintf("MemoryManager::Init - %s MemoryManager\n", heap.name);
    }
    return heap;
}

const BackEnd& AddLayers(const BackEnd& heap) noexcept
{
    const BackEnd* top = &heap;
    if (DBGetBool(MemoryManagerSection, "collectStatistics", false)) {
        top = &AddStatistics(*top);
    }
    if (DBGetBool(MemoryManagerSection, "injectFaults", false)) {
        top = &AddFaultInjection(*top);
    }
    return *top;
}

} // namespace

bool IsProtectedAllocationEnabled() noexcept
{
    static const bool enabled = DBGetBool(MemoryManagerSection, "useProtectedAlloc", false);
    return enabled;
}

const BackEnd& GetBackEnd() noexcept
{
    const BackEnd* chosen = chosenBackEnd.load(std::memory_order_acquire);
    if (chosen == nullptr) {
        const CriticalSectionGuard guard(choiceLock);
        chosen = chosenBackEnd.load(std::memory_order_relaxed);
        if (chosen == nullptr) {
            chosen = &AddLayers(ChooseHeap());
            chosenBackEnd.store(chosen, std::memory_order_release);
        }
    }
    return *chosen;
}

} // namespace QV::Impl
