#include <QVRoot/Threading/CriticalSectionImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

#include <cstdlib>
#include <new>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace QV::Impl {

void YieldWhileSpinning(UInt32 round) noexcept
{
    if (round < 64) {
        sched_yield();
    } else {
        const timespec oneMillisecond = {0, 1'000'000};
        nanosleep(&oneMillisecond, nullptr);
    }
}

namespace {

enum : UInt32 { NotBuilt, Building, Built };

pthread_mutex_t* BuildRecursiveMutex(void* storage) noexcept
{
    static_assert(sizeof(pthread_mutex_t) <= 64);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    auto* mutex = new (storage) pthread_mutex_t;
    pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return mutex;
}

} // namespace

void* CriticalSection::GetNative() noexcept
{
    if (state_.load(std::memory_order_acquire) != Built) {
        UInt32 expected = NotBuilt;
        if (state_.compare_exchange_strong(expected, Building, std::memory_order_acquire)) {
            BuildRecursiveMutex(native_);
            state_.store(Built, std::memory_order_release);
        } else {
            for (UInt32 round = 0; state_.load(std::memory_order_acquire) != Built; ++round) {
                YieldWhileSpinning(round);
            }
        }
    }
    return native_;
}

void CriticalSection::Enter() noexcept
{
    pthread_mutex_lock(static_cast<pthread_mutex_t*>(GetNative()));
}

void CriticalSection::Leave() noexcept
{
    pthread_mutex_unlock(static_cast<pthread_mutex_t*>(GetNative()));
}

UInt32 ThreadSlot::GetIndex() noexcept
{
    UInt32 indexPlusOne = indexPlusOne_.load(std::memory_order_acquire);
    if (indexPlusOne == 0) {
        pthread_key_t key;
        if (pthread_key_create(&key, atThreadEnd_) != 0) {
            std::abort();
        }
        const UInt32 mine = static_cast<UInt32>(key) + 1;
        if (indexPlusOne_.compare_exchange_strong(indexPlusOne, mine, std::memory_order_acq_rel)) {
            indexPlusOne = mine;
        } else {
            pthread_key_delete(key);
        }
    }
    return indexPlusOne - 1;
}

void* ThreadSlot::Get() noexcept
{
    return pthread_getspecific(GetIndex());
}

void ThreadSlot::Set(void* value) noexcept
{
    if (pthread_setspecific(GetIndex(), value) != 0) {
        std::abort();
    }
}

UInt64 GetCurrentThreadNumber() noexcept
{
    return static_cast<UInt64>(syscall(SYS_gettid));
}

} // namespace QV::Impl
