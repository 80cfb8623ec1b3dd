/// What a future shares with the task or promise that gives its result. Public only because templates of
/// `Future.hpp`, `FutureTask.hpp` and `Promise.hpp` need it.
#pragma once

#include <QVRoot/Threading/Runnable.hpp>

#include <exception>
#include <optional>

namespace QV::Impl {

/// Counted: by every future, and once by the task or promise. Whoever gives the result claims the state
/// first; only one can.
class QV_EXPORT FutureState {
public:
    /// `block` is what is freed with the last reference. The creator holds the first one.
    explicit FutureState(void* block) noexcept;
    FutureState(const FutureState&) = delete;
    FutureState& operator=(const FutureState&) = delete;

    void AddReference() noexcept { references_.Increment(); }
    void ReleaseReference() noexcept
    {
        if (references_.Decrement() == 0) {
            Destroy();
        }
    }

    bool IsDone() const noexcept { return (phase_.load(std::memory_order_acquire) & DoneMask) != 0; }
    bool IsCanceled() const noexcept;
    /// Answers whether the outcome is a cancellation.
    bool Cancel();
    /// Answers false when the time has run out.
    bool Wait(UInt32 timeoutMs, bool interruptible);
    /// Waits, and throws when the outcome is no value, or `TimeoutException`.
    void AwaitValue(UInt32 timeoutMs, bool interruptible);
    /// After `AwaitValue`: once only.
    void MarkTaken();

    /// For a task: claims the state for the calling thread; false when it was canceled or has run already.
    bool BeginTask();
    /// For a promise: false when it was canceled. Throws when there is an outcome.
    bool BeginPromise();
    /// Gives the claim of a promise back.
    void UndoPromise() noexcept;
    /// Ends what was begun; a cancellation in the meantime overrides it.
    void EndWithValue() noexcept { Finish(HasValue); }
    void EndWithFailure(std::exception_ptr failure) noexcept;
    /// A promise's failure from begin to end; false when it was canceled.
    bool FailPromise(std::exception_ptr failure);
    /// Nobody will give a result.
    void AbandonTask() noexcept;
    void AbandonPromise() noexcept;

protected:
    virtual ~FutureState();

private:
    enum Phase : UInt32 {
        HasValue = 1,
        HasFailed = 2,
        WasCanceled = 4,
        DoneMask = HasValue | HasFailed | WasCanceled,
        CancelRequested = 8, ///< while it ran
        HasWaiters = 16,
        IsTaken = 32,
    };
    struct Core;

    Core& GetCore() noexcept { return *reinterpret_cast<Core*>(core_); }
    void Destroy() noexcept;
    bool Claim(void* owner) noexcept;
    void Finish(UInt32 outcome) noexcept;
    void ThrowUnlessValue() const;

    static constexpr std::size_t SizeOfCore = 40;

    TSRefCounter references_{1};
    std::atomic<UInt32> phase_ = 0;
    std::atomic<void*> owner_ = nullptr; ///< null: unclaimed; a thread, or a mark that is no thread
    void* block_;
    std::exception_ptr failure_;
    alignas(8) unsigned char core_[SizeOfCore]; ///< lock and waiting threads
};

/// The state with room for a result. References are kept as pointers; of `void`, nothing is.
template <class R>
class FutureStateOf final : public FutureState {
public:
    using FutureState::FutureState;

    struct Nothing {};
    using Stored = std::conditional_t<
        std::is_void_v<R>, Nothing,
        std::conditional_t<std::is_reference_v<R>, std::add_pointer_t<std::remove_reference_t<R>>, R>>;
    static_assert(alignof(Stored) <= 16, "results live in blocks of the memory manager");

    std::optional<Stored> value;

protected:
    ~FutureStateOf() override = default;
};

/// The side of a state that runs. It lies before the state, in the same block.
class QV_EXPORT FutureTaskBase : public Runnable {
public:
    ~FutureTaskBase() override;
    void Run() final;

protected:
    explicit FutureTaskBase(FutureState& state) noexcept : state_(state) {}

    /// Leaves the result in the state.
    virtual void Compute() = 0;

    FutureState& state_;
};

template <class R, class Callable>
class FutureTaskOf final : public FutureTaskBase {
public:
    /// The state has one reference for the task, which is released with it, and one for the caller.
    template <class Source>
    static FutureTaskOf* Make(Source&& callable, FutureStateOf<R>*& state)
    {
        static_assert(alignof(Callable) <= 16, "tasks live in blocks of the memory manager");
        auto* const block = static_cast<unsigned char*>(MemoryManager::Allocate(
            GetStateOffset() + sizeof(FutureStateOf<R>), MemoryManager::ThrowOnFailure, true));
        state = ::new (block + GetStateOffset()) FutureStateOf<R>(block);
        FutureTaskOf* task;
        try {
            task = ::new (block) FutureTaskOf(*state, std::forward<Source>(callable));
        } catch (...) {
            state->ReleaseReference();
            throw;
        }
        state->AddReference();
        return task;
    }

    static void operator delete(void* block) noexcept
    {
        // The task is gone, its state is not.
        reinterpret_cast<FutureStateOf<R>*>(static_cast<unsigned char*>(block) + GetStateOffset())
            ->ReleaseReference();
    }

private:
    static constexpr std::size_t GetStateOffset() noexcept { return (sizeof(FutureTaskOf) + 15) / 16 * 16; }

    template <class Source>
    FutureTaskOf(FutureStateOf<R>& state, Source&& callable)
        : FutureTaskBase(state), callable_(std::in_place, std::forward<Source>(callable))
    {
    }

    void Compute() override
    {
        // What the callable holds is gone when the result is there.
        struct Clearing {
            ~Clearing() { callable.reset(); }
            std::optional<Callable>& callable;
        } const clearing = {callable_};
        auto& value = static_cast<FutureStateOf<R>&>(state_).value;
        if constexpr (std::is_void_v<R>) {
            (*callable_)();
            value.emplace();
        } else if constexpr (std::is_reference_v<R>) {
            value.emplace(std::addressof((*callable_)()));
        } else {
            value.emplace((*callable_)());
        }
    }

    std::optional<Callable> callable_;
};

} // namespace QV::Impl
