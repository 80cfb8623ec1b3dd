#include <QVRoot/Threading/ThreadListImpl.hpp>

namespace QV::Impl {

constinit FastLock ThreadList::lock_;
constinit ThreadImpl* ThreadList::first_ = nullptr;
constinit ThreadImpl* ThreadList::last_ = nullptr;
constinit UInt32 ThreadList::count_ = 0;

void ThreadList::Add(ThreadImpl& thread)
{
    const FastLockGuard guard(lock_);
    thread.previousInList_ = last_;
    thread.nextInList_ = nullptr;
    (last_ == nullptr ? first_ : last_->nextInList_) = &thread;
    last_ = &thread;
    thread.isListed_ = true;
    ++count_;
}

void ThreadList::Remove(ThreadImpl& thread)
{
    const FastLockGuard guard(lock_);
    if (!thread.isListed_) {
        return;
    }
    (thread.previousInList_ == nullptr ? first_ : thread.previousInList_->nextInList_) = thread.nextInList_;
    (thread.nextInList_ == nullptr ? last_ : thread.nextInList_->previousInList_) = thread.previousInList_;
    thread.isListed_ = false;
    --count_;
}

Array<ThreadImpl*> ThreadList::GetAll()
{
    // The list's lock must not see an allocation, so the room is made before.
    Array<ThreadImpl*> threads;
    for (UInt32 room = 16;; room *= 2) {
        threads.Reserve(room);
        const FastLockGuard guard(lock_);
        if (count_ > room) {
            continue;
        }
        for (ThreadImpl* thread = first_; thread != nullptr; thread = thread->nextInList_) {
            thread->AddReference();
            threads.Append(thread);
        }
        return threads;
    }
}

} // namespace QV::Impl
