#include <QVRoot/Threading/NonThreadSafeClass.hpp>

#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Threading/FastLockImpl.hpp>

namespace QV {

void NonThreadSafeClass::DetachThread() noexcept
{
    std::atomic_ref(owner_).store(0, std::memory_order_relaxed);
    std::atomic_ref(reported_).store(0, std::memory_order_relaxed);
}

void NonThreadSafeClass::CheckThreadAlways() const noexcept
{
    const UInt64 me = Impl::GetCurrentId();
    UInt64 owner = 0;
    if (std::atomic_ref(owner_).compare_exchange_strong(owner, me, std::memory_order_relaxed) ||
        owner == me) {
        return;
    }
    if (std::atomic_ref(reported_).exchange(me, std::memory_order_relaxed) != me) {
        ErrorReporting::Report("An object that belongs to one thread is used by another.");
    }
}

} // namespace QV
