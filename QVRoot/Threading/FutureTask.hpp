/// Work together with the future of its result, for whoever runs tasks: an executor, a thread, a timer.
///
///     FutureTask task([&] { return Sum(numbers); });
///     Thread(task.GetTask(), u"sum").Start();
///     task.GetFuture().Get();
///
/// The task runs once; later runs do nothing. When every `RunnableTask` of it is gone and it has not run, the
/// future is canceled, so that nobody waits in vain.
///
/// Threads: any. Errors: those of making the callable. Allocation: one block for task and result.
#pragma once

#include <QVRoot/Threading/Future.hpp>

namespace QV {

template <class R>
class FutureTask {
public:
    template <class Callable>
    requires(std::is_invocable_r_v<R, std::decay_t<Callable>&> &&
             !std::is_same_v<std::decay_t<Callable>, FutureTask>) explicit FutureTask(Callable&& callable)
    {
        Impl::FutureStateOf<R>* state = nullptr;
        task_ = RunnableTask(
            Impl::FutureTaskOf<R, std::decay_t<Callable>>::Make(std::forward<Callable>(callable), state));
        future_ = Future<R>(state);
    }

    RunnableTask GetTask() const& noexcept { return task_; }
    RunnableTask GetTask() && noexcept { return std::move(task_); }
    Future<R> GetFuture() const& noexcept { return future_; }
    Future<R> GetFuture() && noexcept { return std::move(future_); }

private:
    RunnableTask task_;
    Future<R> future_;
};

template <class Callable>
FutureTask(Callable) -> FutureTask<std::invoke_result_t<Callable&>>;

} // namespace QV
