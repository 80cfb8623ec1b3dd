/// The platform's recursive mutex and its thread slots: the seam below every lock and every per-thread value.
///
/// Nothing here goes through the memory manager. All objects may be constant-initialised and are never
/// destroyed: they serve until the process ends.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>

namespace QV::Impl {

/// A recursive mutex. Set up on its first use, so that it works before any static constructor has run.
class CriticalSection {
public:
    constexpr CriticalSection() noexcept = default;
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Enter() noexcept;
    void Leave() noexcept;

private:
    void* GetNative() noexcept;

    std::atomic<UInt32> state_ = 0;
    alignas(16) char native_[64] = {};
};

class CriticalSectionGuard {
public:
    explicit CriticalSectionGuard(CriticalSection& section) noexcept : section_(section) { section_.Enter(); }
    ~CriticalSectionGuard() { section_.Leave(); }
    CriticalSectionGuard(const CriticalSectionGuard&) = delete;
    CriticalSectionGuard& operator=(const CriticalSectionGuard&) = delete;

private:
    CriticalSection& section_;
};

/// One pointer per thread, null at first, held in a slot of the operating system: it also serves threads
/// that the library did not start. When a thread ends with a non-null value, `atThreadEnd` is called with
/// it on that thread.
class ThreadSlot {
public:
    using EndFunction = void (*)(void* value);

    constexpr explicit ThreadSlot(EndFunction atThreadEnd = nullptr) noexcept : atThreadEnd_(atThreadEnd) {}
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    void* Get() noexcept;
    /// Ends the process when the system has no slot left.
    void Set(void* value) noexcept;

private:
    UInt32 GetIndex() noexcept;

    EndFunction atThreadEnd_;
    std::atomic<UInt32> indexPlusOne_ = 0;
};

/// The lock for building process-wide objects: recursive, allocates nothing, knows no thread objects.
CriticalSection& GetSingletonLock() noexcept;

/// A number that identifies the calling thread while it runs.
UInt64 GetCurrentThreadNumber() noexcept;

} // namespace QV::Impl
