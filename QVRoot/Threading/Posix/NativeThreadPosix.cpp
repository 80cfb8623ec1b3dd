#include <QVRoot/Threading/NativeThreadImpl.hpp>

#include <cerrno>
#include <cxxabi.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

namespace QV::Impl {

namespace {

/// For the priorities -2 to 2.
constexpr int niceValues[] = {4, 2, 0, -1, -2};

void* Main(void* thread)
{
    RunStartedThread(static_cast<ThreadImpl*>(thread));
    return nullptr;
}

} // namespace

bool StartNativeThread(NativeThread&, ThreadImpl* thread) noexcept
{
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) {
        return false;
    }
    // Joining is a matter of the library's own monitors.
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t ignored;
    const bool started = pthread_create(&ignored, &attributes, &Main, thread) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

void CloseNativeThread(NativeThread&) noexcept {}

// What is caught here is no object: the reference is null.
__attribute__((no_sanitize("null"))) void PassOnForcedUnwinding()
{
    try {
        throw;
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
    }
}

bool SetNativePriority(const NativeThread&, UInt32 id, Int32 priority) noexcept
{
    if (setpriority(PRIO_PROCESS, id, niceValues[priority + 2]) == 0) {
        return true;
    }
    return errno == EACCES || errno == EPERM;
}

bool GetNativePriority(const NativeThread&, UInt32, Int32&) noexcept
{
    // What was set last counts, since the system may not have been allowed to follow.
    return true;
}

UInt32 GetMainThreadId() noexcept
{
    return static_cast<UInt32>(getpid());
}

bool IsProcessEnding() noexcept
{
    return false; // threads are not ended by force, nor do their slots end with the process
}

void YieldProcessor() noexcept
{
    sched_yield();
}

} // namespace QV::Impl
