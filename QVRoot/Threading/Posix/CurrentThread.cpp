#include <CurrentThreadImpl.hpp>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace QV::Impl {

[[gnu::tls_model("initial-exec")]] constinit thread_local CurrentThreadRecord currentThread = {nullptr, 0};

namespace {

void ForgetId() noexcept
{
    currentThread.id = 0;
}

} // namespace

UInt32 FetchCurrentThreadId() noexcept
{
    // The child of a fork goes on as a thread of another id.
    [[maybe_unused]] static const int registered = pthread_atfork(nullptr, nullptr, &ForgetId);
    currentThread.id = static_cast<UInt32>(syscall(SYS_gettid));
    return currentThread.id;
}

} // namespace QV::Impl
