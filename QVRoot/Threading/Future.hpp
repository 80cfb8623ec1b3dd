/// A result that is there some time.
///
///     Future<UInt32> sum = pool.Submit([&] { return Sum(numbers); });
///     …
///     const UInt32 value = sum.Get();
///
/// A `Future` is a cheap handle: copies refer to the same result. It is done when the work has ended: with a
/// value, with an exception, which `Get` throws again, or canceled. It comes from an `Executor`, a
/// `FutureTask` or a `Promise`.
///
/// Canceling work that has not begun keeps it from running. The thread of work that is running is
/// interrupted; the future is done when the work has really ended, whatever it ended with, so that what it
/// used may go then. An interrupt that the work has not taken ends with it.
///
/// Threads: any; a single handle by one at a time. Errors: `IllegalStateException` for a handle that refers
/// to nothing and for a result that was taken; what each member says. Allocation: none.
#pragma once

#include <QVRoot/Threading/Cancelable.hpp>
#include <QVRoot/Threading/FutureState.hpp>
#include <QVRoot/Threading/Waitable.hpp>

namespace QV {

/// What futures of all types can do.
class QV_EXPORT FutureBase : public Waitable, public Cancelable {
public:
    ~FutureBase() override;

    /// Whether the handle refers to a result at all.
    bool IsValid() const noexcept { return state_ != nullptr; }
    /// Whether a wait would return at once.
    bool IsDone() const;
    /// True from `Cancel` on, when that came in time.
    bool IsCanceled() const override;

    void Cancel() override;
    /// The same; answers whether it came in time: `Get` throws `CancellationException` then.
    bool TryCancel();

    /// Wait until the future is done, with whatever outcome. `DeadlockException` on the thread that is doing
    /// the work; `InterruptedException`.
    void Wait(bool interruptible = false) override;
    bool Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) override;
    bool Wait(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr) override;

    /// Whether both refer to the same result.
    bool operator==(const FutureBase& other) const noexcept { return state_ == other.state_; }

protected:
    FutureBase() noexcept = default;
    /// Takes over a reference.
    explicit FutureBase(Impl::FutureState* state) noexcept : state_(state) {}
    FutureBase(const FutureBase& other) noexcept;
    FutureBase(FutureBase&& other) noexcept : state_(std::exchange(other.state_, nullptr)) {}
    FutureBase& operator=(const FutureBase& other) noexcept;
    FutureBase& operator=(FutureBase&& other) noexcept
    {
        std::swap(state_, other.state_);
        return *this;
    }

    Impl::FutureState& GetState() const
    {
        if (state_ == nullptr) [[unlikely]] {
            ThrowInvalid();
        }
        return *state_;
    }
    void AwaitValue(UInt32 timeoutMs, bool interruptible, UInt32* remaining) const;

private:
    [[noreturn]] static void ThrowInvalid();

    Impl::FutureState* state_ = nullptr;
};

template <class R>
class Future final : public FutureBase {
public:
    /// What `Get` returns: the result where it lies, or the reference that is the result, or nothing.
    using Reference = std::conditional_t<std::is_void_v<R> || std::is_reference_v<R>, R,
                                         std::add_lvalue_reference_t<const R>>;

    /// Refers to nothing.
    Future() noexcept = default;
    Future(const Future&) noexcept = default;
    Future(Future&&) noexcept = default;
    Future& operator=(const Future&) noexcept = default;
    Future& operator=(Future&&) noexcept = default;
    ~Future() override = default;

    /// Waits for the result, which stays where it is as long as there are futures for it. Throws what the
    /// work threw, `CancellationException` when it was canceled, what `Wait` throws, and with a time-out
    /// `TimeoutException`.
    Reference Get(bool interruptible = false) const&
    {
        return Get(Timeout::Infinite, interruptible, nullptr);
    }
    Reference Get(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) const&
    {
        AwaitValue(timeoutMs, interruptible, remaining);
        return Refer();
    }
    Reference Get(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr) const&
    {
        return Get(timeout(), interruptible, remaining);
    }

    /// A future that nobody keeps gives its result away.
    R Get(bool interruptible = false) && { return Take(Timeout::Infinite, interruptible); }
    R Get(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) &&
    {
        return Take(timeoutMs, interruptible, remaining);
    }
    R Get(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr) &&
    {
        return Take(timeout(), interruptible, remaining);
    }

    /// Waits and moves the result out. Later calls on any copy throw `IllegalStateException`; nobody may be
    /// using what `Get` returned. References stay.
    R Take(bool interruptible = false) { return Take(Timeout::Infinite, interruptible); }
    R Take(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr)
    {
        AwaitValue(timeoutMs, interruptible, remaining);
        if constexpr (std::is_void_v<R> || std::is_reference_v<R>) {
            return Refer();
        } else {
            GetState().MarkTaken();
            return std::move(*GetValue());
        }
    }

private:
    template <class>
    friend class FutureTask;
    template <class>
    friend class Promise;

    explicit Future(Impl::FutureStateOf<R>* state) noexcept : FutureBase(state) {}

    auto& GetValue() const { return static_cast<Impl::FutureStateOf<R>&>(GetState()).value; }
    Reference Refer() const
    {
        if constexpr (std::is_reference_v<R>) {
            return static_cast<R>(**GetValue());
        } else if constexpr (!std::is_void_v<R>) {
            return *GetValue();
        }
    }
};

} // namespace QV
