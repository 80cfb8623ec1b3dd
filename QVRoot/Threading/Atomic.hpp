/// Atomic operations on plain integers, and the counter that shared objects keep.
///
/// Loads acquire, stores release, everything else does both.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>
#include <type_traits>

namespace QV {

/// The reference counter of a shared object: 32 bits, safe on any thread.
class TSRefCounter {
public:
    constexpr explicit TSRefCounter(UInt32 value) noexcept : value_(value) {}
    TSRefCounter(const TSRefCounter&) = delete;
    TSRefCounter& operator=(const TSRefCounter&) = delete;

    void Increment() noexcept { value_.fetch_add(1, std::memory_order_relaxed); }

    /// The same where no other thread can touch the counter.
    void IncrementNonAtomic() noexcept
    {
        value_.store(value_.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
    }

    /// Returns the count that is left. Whoever receives 0 sees everything the other owners wrote.
    UInt32 Decrement() noexcept { return value_.fetch_sub(1, std::memory_order_acq_rel) - 1; }

    /// The same for the caller that knows to be the only owner.
    UInt32 DecrementNonAtomic() noexcept
    {
        const UInt32 left = value_.load(std::memory_order_relaxed) - 1;
        value_.store(left, std::memory_order_relaxed);
        return left;
    }

    UInt32 Get() const noexcept { return value_.load(std::memory_order_acquire); }

private:
    std::atomic<UInt32> value_;
};

static_assert(sizeof(TSRefCounter) == 4);

/// Replaces the value when it is the expected one; answers whether it was.
inline bool AtomicCompareAndSwap(Int32 volatile* value, Int32 expected, Int32 desired) noexcept
{
    return std::atomic_ref<Int32>(const_cast<Int32&>(*value)).compare_exchange_strong(expected, desired);
}

/// Adds or subtracts 1 and returns the new value.
inline UInt32 AtomicIncrement(UInt32 volatile* value) noexcept
{
    return std::atomic_ref<UInt32>(const_cast<UInt32&>(*value)).fetch_add(1) + 1;
}
inline UInt32 AtomicDecrement(UInt32 volatile* value) noexcept
{
    return std::atomic_ref<UInt32>(const_cast<UInt32&>(*value)).fetch_sub(1) - 1;
}

inline Int32 AtomicIncrement(Int32 volatile* value) noexcept
{
    return std::atomic_ref<Int32>(const_cast<Int32&>(*value)).fetch_add(1) + 1;
}
inline Int32 AtomicDecrement(Int32 volatile* value) noexcept
{
    return std::atomic_ref<Int32>(const_cast<Int32&>(*value)).fetch_sub(1) - 1;
}

template <class T>
T AtomicLoad(T const volatile* value) noexcept
{
    return std::atomic_ref<T>(const_cast<T&>(*value)).load(std::memory_order_acquire);
}
template <class T>
void AtomicStore(T volatile* value, std::type_identity_t<T> desired) noexcept
{
    std::atomic_ref<T>(const_cast<T&>(*value)).store(desired, std::memory_order_release);
}

} // namespace QV
