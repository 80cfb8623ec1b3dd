/// Work for a thread: `Runnable` to derive from, `RunnableTask` to hand around.
///
///     RunnableTask task([&] { … });
///     RunnableTask other(new MyRunnable);
///
/// A task refers to a counted runnable: copies share it, the last one deletes it. A task may be null.
///
/// Threads: copies may live on any thread; what runs must be safe where it runs. Errors: `Run` passes on what
/// the runnable throws. Allocation: one block of the memory manager for a callable.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/Threading/Atomic.hpp>

#include <cstddef>
#include <type_traits>
#include <utility>

namespace QV {

class RunnableTask;

class QV_EXPORT Runnable {
public:
    Runnable() noexcept : referenceCount_(0) {}
    Runnable(const Runnable&) = delete;
    Runnable& operator=(const Runnable&) = delete;
    virtual ~Runnable();

    virtual void Run() = 0;

    /// Runnables live in the memory manager's blocks.
    static void* operator new(std::size_t size)
    {
        return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
    }
    static void operator delete(void* block) noexcept { MemoryManager::Free(block); }

private:
    friend class RunnableTask;

    TSRefCounter referenceCount_;
};

class RunnableTask {
public:
    RunnableTask() noexcept = default;

    /// Shares the runnable, which must have been made with `new`. Null is allowed.
    RunnableTask(Runnable* runnable) noexcept : runnable_(runnable) { AddReference(); }

    /// Runs a copy of the callable.
    template <class Callable>
    requires(std::is_invocable_v<std::decay_t<Callable>&> &&
             !std::is_same_v<std::decay_t<Callable>, RunnableTask>) explicit RunnableTask(Callable&& callable)
        : RunnableTask(new Adapter<std::decay_t<Callable>>(std::forward<Callable>(callable)))
    {
    }

    RunnableTask(const RunnableTask& other) noexcept : runnable_(other.runnable_) { AddReference(); }
    RunnableTask(RunnableTask&& other) noexcept : runnable_(std::exchange(other.runnable_, nullptr)) {}
    RunnableTask& operator=(RunnableTask other) noexcept
    {
        std::swap(runnable_, other.runnable_);
        return *this;
    }
    ~RunnableTask()
    {
        if (runnable_ != nullptr && runnable_->referenceCount_.Decrement() == 0) {
            delete runnable_;
        }
    }

    bool IsNull() const noexcept { return runnable_ == nullptr; }

    /// Does nothing when the task is null.
    void Run() const
    {
        if (runnable_ != nullptr) {
            runnable_->Run();
        }
    }

    /// Whether both share one runnable.
    bool operator==(const RunnableTask& other) const noexcept = default;

private:
    template <class Callable>
    class Adapter final : public Runnable {
    public:
        template <class Source>
        explicit Adapter(Source&& source) : callable_(std::forward<Source>(source))
        {
        }
        void Run() override { static_cast<void>(callable_()); }

    private:
        Callable callable_;
    };

    void AddReference() noexcept
    {
        if (runnable_ != nullptr) {
            runnable_->referenceCount_.Increment();
        }
    }

    Runnable* runnable_ = nullptr;
};

} // namespace QV
