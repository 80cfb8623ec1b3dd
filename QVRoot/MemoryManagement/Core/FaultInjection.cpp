#include <QVRoot/MemoryManagement/Core/BackEndChoiceImpl.hpp>
#include <QVRoot/MemoryManagement/Core/FaultInjection.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

#include <atomic>

namespace QV {

namespace {

constexpr UInt64 AnyThread = ~UInt64{0};

struct Plan {
    enum Kind { None, Once, From, Random } kind = None;
    UInt64 number = 0; ///< of the call that fails, or the seed
    UInt32 oneIn = 0;
    UInt64 thread = AnyThread;
    UInt64 attempts = 0;
    UInt64 failures = 0;
};

constinit const Impl::BackEnd* below = nullptr;
constinit Impl::SpinLock planLock;
constinit Plan plan;
/// Spares the lock as long as there is no plan.
constinit std::atomic<bool> planned = false;
constinit std::atomic<UInt64> liveBlocks = 0;

/// Scrambles a counter into independent looking bits.
UInt64 Scramble(UInt64 value) noexcept
{
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
}

/// Whether the call with the number `plan.attempts` fails.
bool FailsByPlan() noexcept
{
    switch (plan.kind) {
    case Plan::Once:
        return plan.attempts == plan.number;
    case Plan::From:
        return plan.attempts >= plan.number;
    case Plan::Random:
        return plan.oneIn != 0 &&
               Scramble(plan.number + plan.attempts * 0x9E3779B97F4A7C15) % plan.oneIn == 0;
    case Plan::None:
        break;
    }
    return false;
}

bool MustFail() noexcept
{
    if (!planned.load(std::memory_order_acquire)) [[likely]] {
        return false;
    }
    const UInt64 thread = Impl::GetCurrentThreadNumber();
    const Impl::SpinLockGuard guard(planLock);
    if (plan.kind == Plan::None || (plan.thread != AnyThread && plan.thread != thread)) {
        return false;
    }
    ++plan.attempts;
    const bool fails = FailsByPlan();
    plan.failures += fails;
    return fails;
}

void SetPlan(Plan::Kind kind, UInt64 number, UInt32 oneIn, FaultInjection::Scope scope) noexcept
{
    const bool all = scope == FaultInjection::Scope::AllThreads;
    const UInt64 thread = all ? AnyThread : Impl::GetCurrentThreadNumber();
    const Impl::SpinLockGuard guard(planLock);
    plan = {kind, number, oneIn, thread, 0, 0};
    planned.store(true, std::memory_order_release);
}

void* FailingAllocate(USize size) noexcept
{
    void* const block = MustFail() ? nullptr : below->allocate(size);
    liveBlocks.fetch_add(block != nullptr, std::memory_order_relaxed);
    return block;
}

void* FailingReallocate(void* block, USize size) noexcept
{
    return MustFail() ? nullptr : below->reallocate(block, size);
}

void CountingFree(void* block) noexcept
{
    liveBlocks.fetch_sub(block != nullptr, std::memory_order_relaxed);
    below->free(block);
}

} // namespace

bool FaultInjection::IsEnabled() noexcept
{
    Impl::GetBackEnd();
    return below != nullptr;
}

void FaultInjection::FailOnce(UInt64 n, Scope scope) noexcept
{
    SetPlan(Plan::Once, n, 0, scope);
}

void FaultInjection::FailFrom(UInt64 n, Scope scope) noexcept
{
    SetPlan(Plan::From, n, 0, scope);
}

void FaultInjection::FailRandomly(UInt64 seed, UInt32 oneIn, Scope scope) noexcept
{
    SetPlan(Plan::Random, seed, oneIn, scope);
}

void FaultInjection::Disable() noexcept
{
    const Impl::SpinLockGuard guard(planLock);
    plan.kind = Plan::None;
    planned.store(false, std::memory_order_release);
}

UInt64 FaultInjection::GetAttempts() noexcept
{
    const Impl::SpinLockGuard guard(planLock);
    return plan.attempts;
}

UInt64 FaultInjection::GetFailures() noexcept
{
    const Impl::SpinLockGuard guard(planLock);
    return plan.failures;
}

UInt64 FaultInjection::GetLiveBlocks() noexcept
{
    return liveBlocks.load(std::memory_order_relaxed);
}

const Impl::BackEnd& Impl::AddFaultInjection(const BackEnd& heap) noexcept
{
    static constinit BackEnd layer = {
        FailingAllocate,
        FailingReallocate,
        CountingFree,
        [](void* block) { return below->msize(block); },
        [] { return below->heapCheck(); },
        nullptr,
    };
    below = &heap;
    layer.name = heap.name;
    return layer;
}

} // namespace QV
