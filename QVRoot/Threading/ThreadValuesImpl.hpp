/// A thread's table of its `ThreadLocal` values. It hangs on the thread's object, so it costs no slot of the
/// operating system.
///
/// A table entry tells by a serial number whose value it is, and serial numbers are not used twice. So nobody
/// has to reach into the tables of other threads when a `ThreadLocal` dies.
#pragma once

#include <QVRoot/Threading/ThreadLocal.hpp>

namespace QV::Impl {

/// Stands before a value, in the lists of its thread and of its `ThreadLocal`. Places in lists are kept as
/// the address of the pointer that leads here.
struct alignas(16) ThreadValue {
    ThreadLocalBase* owner = nullptr;
    ThreadValue* nextOfThread = nullptr;
    ThreadValue** placeInThread = nullptr; ///< null: the thread has ended
    ThreadValue* nextOfOwner = nullptr;
    ThreadValue** placeInOwner = nullptr;

    void* GetValue() noexcept { return this + 1; }
    static ThreadValue* Of(void* value) noexcept { return static_cast<ThreadValue*>(value) - 1; }
    void Unlink() noexcept;
    void UnlinkFromThread() noexcept;
};

class ThreadValues {
public:
    ThreadValues() noexcept = default;
    ThreadValues(const ThreadValues&) = delete;
    ThreadValues& operator=(const ThreadValues&) = delete;
    ~ThreadValues() { MemoryManager::Free(entries_); }

    void* Find(UInt32 index, UInt64 serial) const noexcept
    {
        return index < count_ && entries_[index].serial == serial ? entries_[index].value : nullptr;
    }
    /// Has room for an entry afterwards.
    void Reserve(UInt32 index);
    void Set(UInt32 index, UInt64 serial, void* value) noexcept { entries_[index] = {serial, value}; }

    /// Destroys all values, those made last first. Called on the ending thread.
    void Clear() noexcept;

private:
    friend class ThreadLocalBase;

    ThreadValue* Detach(ThreadValue*& list) noexcept;
    void DestroyAll(ThreadValue*& list) noexcept;

    struct Entry {
        UInt64 serial;
        void* value;
    };

    UInt32 count_ = 0;
    Entry* entries_ = nullptr;
    ThreadValue* first_ = nullptr; ///< the one made last; under the lock of all values
};

} // namespace QV::Impl
