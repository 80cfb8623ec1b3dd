#include <QVRoot/Threading/TicketLock.hpp>

#include <QVRoot/Threading/Atomic.hpp>
#include <QVRoot/Threading/BusyWaitImpl.hpp>
#include <QVRoot/Threading/FastLockImpl.hpp>
#include <QVRoot/Threading/Thread.hpp>

namespace QV {

void TicketLock::Yield() noexcept
{
    Thread::Yield();
}

void TicketLock::Acquire() noexcept
{
    const UInt32 ticket = AtomicIncrement(&nextTicket_) - 1;
    while (AtomicLoad(&nowServing_) != ticket) {
        Yield();
    }
}

void TicketLock::Release() noexcept
{
    // Only the holder writes it.
    AtomicStore(&nowServing_, nowServing_ + 1);
}

void ReentrantTicketLock::Acquire() noexcept
{
    const Int64 me = Impl::GetCurrentId();
    if (AtomicLoad(&ownerThreadId_) != me) {
        const UInt32 ticket = AtomicIncrement(&nextTicket_) - 1;
        while (AtomicLoad(&nowServing_) != ticket) {
            Thread::Yield();
        }
        AtomicStore(&ownerThreadId_, me);
    }
    ++holdCount_;
}

void ReentrantTicketLock::Release() noexcept
{
    if (--holdCount_ == 0) {
        AtomicStore(&ownerThreadId_, 0);
        AtomicStore(&nowServing_, nowServing_ + 1);
    }
}

} // namespace QV
