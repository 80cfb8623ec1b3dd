#include <QVRoot/Threading/Future.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/RemainingTimeImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>
#include <QVRoot/Threading/WaiterQueueImpl.hpp>

namespace QV {

namespace Impl {

namespace {

/// Owners that are no threads.
char canceledMark;
char promiseMark;
void* const Canceled = &canceledMark;
void* const Promised = &promiseMark;

ThreadImpl* ToThread(void* owner) noexcept
{
    return owner == Canceled || owner == Promised ? nullptr : static_cast<ThreadImpl*>(owner);
}

} // namespace

/// The lock guards the waiters, every change of the phase but the end of a state that nobody has touched, and
/// the interrupt of a cancellation: the work does not end before that has been delivered.
struct FutureState::Core {
    FastLock lock;
    bool clearsInterrupt = false;
    WaiterQueue waiters;
};

FutureState::FutureState(void* block) noexcept : block_(block)
{
    static_assert(sizeof(Core) <= SizeOfCore && alignof(Core) <= 8);
    new (core_) Core;
}

FutureState::~FutureState()
{
    std::destroy_at(&GetCore());
}

void FutureState::Destroy() noexcept
{
    void* const block = block_;
    this->~FutureState();
    MemoryManager::Free(block);
}

bool FutureState::IsCanceled() const noexcept
{
    const UInt32 phase = phase_.load(std::memory_order_acquire);
    return (phase & (WasCanceled | CancelRequested)) != 0;
}

bool FutureState::Claim(void* owner) noexcept
{
    void* none = nullptr;
    return owner_.compare_exchange_strong(none, owner, std::memory_order_acq_rel);
}

bool FutureState::BeginTask()
{
    return Claim(&ThreadImpl::GetCurrent());
}

bool FutureState::BeginPromise()
{
    if (Claim(Promised)) {
        return true;
    }
    if (owner_.load(std::memory_order_acquire) != Canceled) {
        QV_THROW(IllegalStateException, "The promise was kept already.");
    }
    return false;
}

void FutureState::UndoPromise() noexcept
{
    {
        const FastLockGuard guard(GetCore().lock);
        if ((phase_.load(std::memory_order_relaxed) & CancelRequested) == 0) {
            owner_.store(nullptr, std::memory_order_release);
            return;
        }
        owner_.store(Canceled, std::memory_order_release);
    }
    Finish(WasCanceled);
}

void FutureState::EndWithFailure(std::exception_ptr failure) noexcept
{
    failure_ = std::move(failure);
    Finish(HasFailed);
}

bool FutureState::FailPromise(std::exception_ptr failure)
{
    if (failure == nullptr) {
        QV_THROW(IllegalArgumentException, "Invalid exception: exception is null.");
    }
    if (!BeginPromise()) {
        return false;
    }
    EndWithFailure(std::move(failure));
    return !IsCanceled();
}

void FutureState::Finish(UInt32 outcome) noexcept
{
    UInt32 phase = 0;
    if (phase_.compare_exchange_strong(phase, outcome, std::memory_order_acq_rel)) [[likely]] {
        return;
    }
    Notification notification;
    {
        Core& core = GetCore();
        const FastLockGuard guard(core.lock);
        phase = phase_.load(std::memory_order_relaxed);
        if ((phase & CancelRequested) != 0) {
            outcome = WasCanceled;
        }
        if (core.clearsInterrupt) {
            ToThread(owner_.load(std::memory_order_relaxed))->GetMonitor().TestAndClearInterrupted();
        }
        phase_.store(phase | outcome, std::memory_order_release);
        core.waiters.NotifyAll(notification);
    }
    notification.Complete();
}

void FutureState::AbandonTask() noexcept
{
    if (Claim(Canceled)) {
        Finish(WasCanceled);
    }
}

void FutureState::AbandonPromise() noexcept
{
    if (!Claim(Promised)) {
        return;
    }
    try {
        QV_THROW(ExecutionException, "The promise was given up without a result.");
    } catch (...) {
        EndWithFailure(std::current_exception());
    }
}

bool FutureState::Cancel()
{
    if (Claim(Canceled)) {
        Finish(WasCanceled);
        return true;
    }
    Core& core = GetCore();
    const FastLockGuard guard(core.lock);
    UInt32 phase = phase_.load(std::memory_order_acquire);
    do {
        if ((phase & DoneMask) != 0) {
            return (phase & WasCanceled) != 0;
        }
    } while (!phase_.compare_exchange_weak(phase, phase | CancelRequested, std::memory_order_acq_rel));
    if (ThreadImpl* const runner = ToThread(owner_.load(std::memory_order_acquire))) {
        ThreadMonitorImpl& monitor = runner->GetMonitor();
        // An interrupt that somebody else sent goes on after the work.
        core.clearsInterrupt = core.clearsInterrupt || !monitor.IsInterrupted();
        monitor.Interrupt();
    }
    return true;
}

bool FutureState::Wait(UInt32 timeoutMs, bool interruptible)
{
    if (IsDone()) {
        return true;
    }
    ThreadImpl& me = ThreadImpl::GetCurrent();
    if (owner_.load(std::memory_order_relaxed) == &me) {
        QV_THROW(DeadlockException, "Failed to wait for a result: the calling thread is computing it.");
    }
    if (timeoutMs == 0) {
        return false;
    }
    Core& core = GetCore();
    Waiter waiter(me);
    core.lock.Enter();
    UInt32 phase = phase_.load(std::memory_order_acquire);
    do {
        if ((phase & DoneMask) != 0) {
            core.lock.Leave();
            return true;
        }
    } while (!phase_.compare_exchange_weak(phase, phase | HasWaiters, std::memory_order_acq_rel));
    if (core.waiters.Wait(core.lock, waiter, timeoutMs, interruptible, [] {}) ==
        MonitorState::WasInterrupted) {
        QV_THROW(InterruptedException, "Thread interrupted while waiting for a result.");
    }
    return IsDone();
}

void FutureState::AwaitValue(UInt32 timeoutMs, bool interruptible)
{
    if (!Wait(timeoutMs, interruptible)) {
        QV_THROW(TimeoutException, "Timeout expired while waiting for a result.");
    }
    ThrowUnlessValue();
}

void FutureState::ThrowUnlessValue() const
{
    const UInt32 phase = phase_.load(std::memory_order_acquire);
    if ((phase & WasCanceled) != 0) {
        QV_THROW(CancellationException, "The task was canceled.");
    }
    if ((phase & HasFailed) != 0) {
        std::rethrow_exception(failure_);
    }
    if ((phase & IsTaken) != 0) {
        QV_THROW(IllegalStateException, "The result was taken already.");
    }
}

void FutureState::MarkTaken()
{
    if ((phase_.fetch_or(IsTaken, std::memory_order_acq_rel) & IsTaken) != 0) {
        QV_THROW(IllegalStateException, "The result was taken already.");
    }
}

FutureTaskBase::~FutureTaskBase()
{
    state_.AbandonTask();
}

void FutureTaskBase::Run()
{
    if (!state_.BeginTask()) {
        return;
    }
    try {
        Compute();
    } catch (...) {
        std::exception_ptr failure = std::current_exception();
        if (failure == nullptr) {
            // A thread that is ended by force carries no exception.
            failure = std::make_exception_ptr(
                ExecutionException("The thread was ended by force.", QV_SOURCE_FILE, __LINE__));
        }
        state_.EndWithFailure(std::move(failure));
        PassOnForcedUnwinding();
        return;
    }
    state_.EndWithValue();
}

} // namespace Impl

FutureBase::FutureBase(const FutureBase& other) noexcept
    : Waitable(other), Cancelable(other), state_(other.state_)
{
    if (state_ != nullptr) {
        state_->AddReference();
    }
}

FutureBase& FutureBase::operator=(const FutureBase& other) noexcept
{
    if (other.state_ != nullptr) {
        other.state_->AddReference();
    }
    if (state_ != nullptr) {
        state_->ReleaseReference();
    }
    state_ = other.state_;
    return *this;
}

FutureBase::~FutureBase()
{
    if (state_ != nullptr) {
        state_->ReleaseReference();
    }
}

void FutureBase::ThrowInvalid()
{
    QV_THROW(IllegalStateException, "The future refers to no result.");
}

bool FutureBase::IsDone() const
{
    return GetState().IsDone();
}

bool FutureBase::IsCanceled() const
{
    return GetState().IsCanceled();
}

void FutureBase::Cancel()
{
    GetState().Cancel();
}

bool FutureBase::TryCancel()
{
    return GetState().Cancel();
}

void FutureBase::Wait(bool interruptible)
{
    GetState().Wait(Timeout::Infinite, interruptible);
}

bool FutureBase::Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    return GetState().Wait(timeoutMs, interruptible);
}

bool FutureBase::Wait(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return Wait(timeout(), interruptible, remaining);
}

void FutureBase::AwaitValue(UInt32 timeoutMs, bool interruptible, UInt32* remaining) const
{
    const Impl::RemainingTime time(timeoutMs, remaining);
    GetState().AwaitValue(timeoutMs, interruptible);
}

} // namespace QV
