#include <QVRoot/Threading/ThreadLocal.hpp>

#include <QVRoot/Threading/SpinLockImpl.hpp>
#include <QVRoot/Threading/ThreadImpl.hpp>
#include <QVRoot/Threading/ThreadValuesImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl {

namespace {

/// Guards all lists of values and the numbers below. No value is made or destroyed inside.
constinit FastLock valuesLock;
constinit UInt64 lastSerial = 0;
/// Of the indexes in use, one bit each; what does not fit is never used again.
constexpr UInt32 reusedIndexes = 4096;
constinit UInt64 usedIndexes[reusedIndexes / 64] = {};
constinit UInt32 nextIndex = reusedIndexes;

UInt32 TakeIndex() noexcept
{
    for (UInt32 word = 0; word < reusedIndexes / 64; ++word) {
        if (~usedIndexes[word] != 0) {
            UInt32 bit = 0;
            while ((usedIndexes[word] >> bit & 1) != 0) {
                ++bit;
            }
            usedIndexes[word] |= UInt64{1} << bit;
            return word * 64 + bit;
        }
    }
    return nextIndex++;
}

void ReturnIndex(UInt32 index) noexcept
{
    if (index < reusedIndexes) {
        usedIndexes[index / 64] &= ~(UInt64{1} << index % 64);
    }
}

void Link(ThreadValue* value, ThreadValue*& first, ThreadValue* ThreadValue::*next,
          ThreadValue** ThreadValue::*place) noexcept
{
    value->*next = first;
    value->*place = &first;
    if (first != nullptr) {
        first->*place = &(value->*next);
    }
    first = value;
}

void Take(ThreadValue* value, ThreadValue* ThreadValue::*next, ThreadValue** ThreadValue::*place) noexcept
{
    *(value->*place) = value->*next;
    if (value->*next != nullptr) {
        value->*next->*place = value->*place;
    }
    value->*place = nullptr;
}

/// How often the destructors of an ending thread's values may make new ones.
constexpr UInt32 clearingRounds = 4;

} // namespace

void ThreadValue::UnlinkFromThread() noexcept
{
    if (placeInThread != nullptr) {
        Take(this, &ThreadValue::nextOfThread, &ThreadValue::placeInThread);
    }
}

void ThreadValue::Unlink() noexcept
{
    UnlinkFromThread();
    Take(this, &ThreadValue::nextOfOwner, &ThreadValue::placeInOwner);
}

ThreadLocalBase::~ThreadLocalBase()
{
    for (UInt32 round = 0;; ++round) {
        ThreadValue* value;
        bool isOver;
        {
            const FastLockGuard guard(valuesLock);
            value = first_;
            isOver = value == nullptr && retiring_ == 0;
            if (value != nullptr) {
                value->Unlink();
            } else if (isOver && serial_.load(std::memory_order_relaxed) != 0) {
                ReturnIndex(index_);
            }
        }
        if (isOver) {
            return;
        }
        if (value != nullptr) {
            destroyer_(value->GetValue());
            FreeValue(value->GetValue());
        } else {
            // An ending thread is destroying its value.
            YieldWhileSpinning(round);
        }
    }
}

void* ThreadLocalBase::Find() const noexcept
{
    ThreadImpl* const thread = GetCurrentThreadImpl();
    if (thread == nullptr || thread == EndedThread) [[unlikely]] {
        return nullptr;
    }
    const UInt64 serial = serial_.load(std::memory_order_acquire);
    return serial == 0 ? nullptr : thread->GetValues().Find(index_, serial);
}

void* ThreadLocalBase::AllocateValue(USize size)
{
    void* const block =
        MemoryManager::Allocate(sizeof(ThreadValue) + size, MemoryManager::ThrowOnFailure, true);
    return (new (block) ThreadValue)->GetValue();
}

void ThreadLocalBase::FreeValue(void* value) noexcept
{
    MemoryManager::Free(ThreadValue::Of(value));
}

void ThreadLocalBase::Prepare()
{
    const FastLockGuard guard(valuesLock);
    if (serial_.load(std::memory_order_relaxed) == 0) {
        index_ = TakeIndex();
        serial_.store(++lastSerial, std::memory_order_release);
    }
}

void ThreadLocalBase::Install(void* value)
{
    Prepare();
    ThreadValues& values = ThreadImpl::GetCurrent().GetValues();
    values.Reserve(index_);
    values.Set(index_, serial_.load(std::memory_order_relaxed), value);
    ThreadValue* const links = ThreadValue::Of(value);
    links->owner = this;
    const FastLockGuard guard(valuesLock);
    Link(links, values.first_, &ThreadValue::nextOfThread, &ThreadValue::placeInThread);
    Link(links, first_, &ThreadValue::nextOfOwner, &ThreadValue::placeInOwner);
}

/// Destroys a value that is in no list any more, but counted.
void ThreadLocalBase::Retire(ThreadValue* value) noexcept
{
    destroyer_(value->GetValue());
    FreeValue(value->GetValue());
    const FastLockGuard guard(valuesLock);
    --retiring_;
}

void ThreadLocalBase::Clear() noexcept
{
    void* const value = Find();
    if (value == nullptr) {
        return;
    }
    // It is gone for its own destructor already.
    GetCurrentThreadImpl()->GetValues().Set(index_, 0, nullptr);
    {
        const FastLockGuard guard(valuesLock);
        ThreadValue::Of(value)->Unlink();
        ++retiring_;
    }
    Retire(ThreadValue::Of(value));
}

void ThreadValues::Reserve(UInt32 index)
{
    if (index < count_) {
        return;
    }
    const UInt32 count = std::max({index + 1, count_ * 2, UInt32{8}});
    const USize size = USize{count} * sizeof(Entry);
    entries_ = static_cast<Entry*>(
        entries_ == nullptr ? MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true)
                            : MemoryManager::Reallocate(entries_, size, MemoryManager::ThrowOnFailure, true));
    std::fill(entries_ + count_, entries_ + count, Entry{0, nullptr});
    count_ = count;
}

void ThreadValues::DestroyAll(ThreadValue*& list) noexcept
{
    for (;;) {
        ThreadValue* value;
        {
            // The value may be taken away here by the end of its `ThreadLocal`.
            const FastLockGuard guard(valuesLock);
            value = list;
            if (value == nullptr) {
                return;
            }
            value->Unlink();
            ++value->owner->retiring_;
        }
        Set(value->owner->index_, 0, nullptr);
        value->owner->Retire(value);
    }
}

/// The values that the thread has now; what their destructors make is for another round.
ThreadValue* ThreadValues::Detach(ThreadValue*& list) noexcept
{
    const FastLockGuard guard(valuesLock);
    list = std::exchange(first_, nullptr);
    if (list != nullptr) {
        list->placeInThread = &list;
    }
    return list;
}

void ThreadValues::Clear() noexcept
{
    ThreadValue* list;
    for (UInt32 round = 0; round < clearingRounds && Detach(list) != nullptr; ++round) {
        DestroyAll(list);
    }
    {
        // The rest is left to the ends of their `ThreadLocal`s.
        const FastLockGuard guard(valuesLock);
        while (first_ != nullptr) {
            first_->UnlinkFromThread();
        }
    }
    count_ = 0;
    MemoryManager::Free(std::exchange(entries_, nullptr));
}

} // namespace QV::Impl
