/// A variable of which every thread has its own.
///
///     ThreadLocal<UInt32> depth;
///     ++*depth;
///     ThreadLocal buffer([] { return Array<char>(…); });
///
/// A thread's value is made when the thread asks for it for the first time. It is destroyed when the thread
/// ends, before whoever joins it goes on, or by `Clear`, or with the `ThreadLocal` itself, then for all
/// threads at once. The values of an ending thread are destroyed in reverse order of their making; those that
/// their destructors make are destroyed next, for a few rounds. The main thread's live until their
/// `ThreadLocal` dies or `Clear` is called.
///
/// Serves every thread, also those that the library did not start; their values go as the system ends them,
/// so destructors must not wait for other threads there. It may be a global: it is ready before any
/// constructor has run.
///
/// Threads: any; each sees its own value. Nobody may be using a `ThreadLocal` when it is destroyed, but
/// threads with values may be ending. Errors: `OutOfMemoryException` and what making a value throws; there is
/// no value then. Allocation: a block per value, one per thread. Cost: a call and a few loads.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <atomic>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace QV {

namespace Impl {

struct ThreadValue;

/// All that does not depend on the type of the value. A value lies behind its `ThreadValue` in one block.
class QV_EXPORT ThreadLocalBase {
public:
    ThreadLocalBase(const ThreadLocalBase&) = delete;
    ThreadLocalBase& operator=(const ThreadLocalBase&) = delete;

    /// Destroys the calling thread's value, if there is one.
    void Clear() noexcept;

protected:
    using Destroyer = void (*)(void* value) noexcept;

    constexpr explicit ThreadLocalBase(Destroyer destroyer) noexcept : destroyer_(destroyer) {}
    ~ThreadLocalBase();

    /// The calling thread's value; null when it has none.
    void* Find() const noexcept;

    /// A block for a value, which is made there before it is installed.
    static void* AllocateValue(USize size);
    static void FreeValue(void* value) noexcept;
    /// Makes the block the calling thread's value, which must have none. When that fails, the block stays the
    /// caller's.
    void Install(void* value);

private:
    friend struct ThreadValue;
    friend class ThreadValues;

    void Prepare();
    void Retire(ThreadValue* value) noexcept;

    Destroyer destroyer_;
    std::atomic<UInt64> serial_ = 0; ///< 0: not in use yet; never used again
    UInt32 index_ = 0;               ///< into each thread's table
    UInt32 retiring_ = 0;            ///< values that threads are destroying
    ThreadValue* first_ = nullptr;
};

template <class T>
struct DefaultMaker {
    T operator()() const { return T(); }
};

} // namespace Impl

/// `Maker` makes a thread's first value.
template <class T, class Maker = Impl::DefaultMaker<T>>
class ThreadLocal final : public Impl::ThreadLocalBase {
    static_assert(alignof(T) <= 16, "values live in blocks of the memory manager");

public:
    constexpr ThreadLocal() noexcept(noexcept(Maker())) : ThreadLocalBase(&Destroy) {}
    /// Every thread's value begins as what the maker returns; it is called on that thread.
    constexpr explicit ThreadLocal(Maker maker) : ThreadLocalBase(&Destroy), maker_(std::move(maker)) {}
    ~ThreadLocal() = default;

    /// The calling thread's value, made now if need be.
    T& Get()
    {
        if (void* const value = Find()) [[likely]] {
            return *static_cast<T*>(value);
        }
        return Make([this](void* place) { return ::new (place) T(maker_()); });
    }
    T& operator*() { return Get(); }
    T* operator->() { return &Get(); }

    /// The calling thread's value, or null when it has none.
    T* TryGet() const noexcept { return static_cast<T*>(Find()); }

    /// Gives the calling thread's value, without the maker when there is none yet.
    template <class U = T>
    T& Set(U&& source)
    {
        if (void* const value = Find()) {
            return *static_cast<T*>(value) = std::forward<U>(source);
        }
        return Make([&source](void* place) { return ::new (place) T(std::forward<U>(source)); });
    }

private:
    static void Destroy(void* value) noexcept { std::destroy_at(static_cast<T*>(value)); }

    template <class Construct>
    T& Make(Construct construct)
    {
        struct Block {
            ~Block()
            {
                if (place != nullptr) {
                    FreeValue(place);
                }
            }
            void* place;
        } block = {AllocateValue(sizeof(T))};
        T* const value = construct(block.place);
        try {
            // Making the value may have made one already.
            Clear();
            Install(value);
        } catch (...) {
            Destroy(value);
            throw;
        }
        block.place = nullptr;
        return *value;
    }

    [[no_unique_address]] Maker maker_;
};

template <class Maker>
ThreadLocal(Maker) -> ThreadLocal<std::invoke_result_t<Maker&>, Maker>;

} // namespace QV
