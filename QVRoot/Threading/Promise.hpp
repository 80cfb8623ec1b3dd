/// A result that is given by hand.
///
///     Promise<UniString> answer;
///     ask(question, answer.GetFuture());
///     …
///     answer.SetValue(u"42");
///
/// Threads: any; a single promise by one at a time. Errors: `IllegalStateException` when the result was given
/// before; a promise that goes without having given one fails its future with an `ExecutionException`.
/// Allocation: one block.
#pragma once

#include <QVRoot/Threading/Future.hpp>

namespace QV {

template <class R>
class Promise {
public:
    Promise()
    {
        using State = Impl::FutureStateOf<R>;
        void* const block = MemoryManager::Allocate(sizeof(State), MemoryManager::ThrowOnFailure, true);
        state_ = ::new (block) State(block);
    }
    Promise(Promise&& other) noexcept : state_(std::exchange(other.state_, nullptr)) {}
    Promise& operator=(Promise&& other) noexcept
    {
        std::swap(state_, other.state_);
        return *this;
    }
    ~Promise()
    {
        if (state_ != nullptr) {
            state_->AbandonPromise();
            state_->ReleaseReference();
        }
    }

    /// Any number of futures may refer to the result.
    Future<R> GetFuture() const
    {
        state_->AddReference();
        return Future<R>(state_);
    }

    /// Whether the future was canceled: nobody wants the result any more.
    bool IsCanceled() const noexcept { return state_->IsCanceled(); }

    /// Gives the result, made of the arguments; for a reference, the object itself. Answers false when the
    /// future was canceled. When making the result throws, the promise stays open.
    template <class... Arguments>
    bool SetValue(Arguments&&... arguments)
    {
        if (!state_->BeginPromise()) {
            return false;
        }
        try {
            if constexpr (std::is_reference_v<R>) {
                state_->value.emplace(std::addressof(arguments)...);
            } else {
                state_->value.emplace(std::forward<Arguments>(arguments)...);
            }
        } catch (...) {
            state_->UndoPromise();
            throw;
        }
        state_->EndWithValue();
        return !state_->IsCanceled();
    }

    /// Gives an exception instead of a result; null is refused with `IllegalArgumentException`.
    bool SetException(std::exception_ptr failure) { return state_->FailPromise(std::move(failure)); }

private:
    Impl::FutureStateOf<R>* state_;
};

} // namespace QV
