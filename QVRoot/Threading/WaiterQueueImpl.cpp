#include <QVRoot/Threading/WaiterQueueImpl.hpp>

#include <QVRoot/Threading/HandOverLockImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>

namespace QV::Impl {

Waiter::Waiter(ThreadImpl& thread) noexcept : monitor(thread.GetMonitor()), threadId(GetCurrentId()) {}

void Notification::Add(Waiter& waiter) noexcept
{
    waiter.next = nullptr;
    *end_ = &waiter;
    end_ = &waiter.next;
}

void Notification::Complete() noexcept
{
    for (Waiter* waiter = first_; waiter != nullptr;) {
        // Unlocking lets the waiter go, and its entry with it.
        Waiter* const next = waiter->next;
        const WakeUp wakeUp = waiter->wakeUp;
        waiter->monitor.Unlock();
        wakeUp.Run();
        waiter = next;
    }
    first_ = nullptr;
    end_ = &first_;
}

void WaiterQueue::Append(Waiter& waiter) noexcept
{
    waiter.previous = last_;
    waiter.next = nullptr;
    (last_ == nullptr ? first_ : last_->next) = &waiter;
    last_ = &waiter;
    waiter.isQueued = true;
}

void WaiterQueue::Remove(Waiter& waiter) noexcept
{
    (waiter.previous == nullptr ? first_ : waiter.previous->next) = waiter.next;
    (waiter.next == nullptr ? last_ : waiter.next->previous) = waiter.previous;
    waiter.isQueued = false;
}

Waiter* WaiterQueue::NotifyOne(Notification& notification, Refusing refusing)
{
    Waiter* next;
    for (Waiter* waiter = first_; waiter != nullptr; waiter = next) {
        next = waiter->next;
        // A busy monitor belongs to a thread that has woken up already and is on its way out.
        if (!waiter->monitor.TryLock()) {
            continue;
        }
        if (waiter->monitor.Notify(waiter->wakeUp)) {
            Remove(*waiter);
            notification.Add(*waiter);
            return waiter;
        }
        if (refusing == Refusing::IsRemoved) {
            Remove(*waiter);
        }
        waiter->monitor.Unlock();
    }
    return nullptr;
}

void WaiterQueue::NotifyAll(Notification& notification)
{
    while (NotifyOne(notification, Refusing::IsRemoved) != nullptr) {
    }
}

bool WaiterQueue::PassOne(Notification& notification, HandOverLock* lock)
{
    if (lock == nullptr) {
        return NotifyOne(notification, Refusing::IsRemoved) != nullptr;
    }
    Waiter* next;
    for (Waiter* waiter = first_; waiter != nullptr; waiter = next) {
        next = waiter->next;
        if (!waiter->monitor.TryLock()) {
            continue;
        }
        Remove(*waiter);
        if (!waiter->monitor.Promise()) {
            waiter->monitor.Unlock();
            continue;
        }
        if (!lock->Receive(*waiter)) {
            waiter->monitor.Notify(waiter->wakeUp);
            notification.Add(*waiter);
        }
        return true;
    }
    return false;
}

void WaiterQueue::PassAll(Notification& notification, HandOverLock* lock)
{
    while (PassOne(notification, lock)) {
    }
}

} // namespace QV::Impl
