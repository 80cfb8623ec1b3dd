#include <CurrentThreadImpl.hpp>

#include <atomic>
#include <cstdlib>

#include <windows.h>

namespace QV::Impl {

namespace {

/// A slot of the thread's environment, which serves until the thread's very end.
constinit std::atomic<DWORD> indexPlusOne = 0;

DWORD GetIndex() noexcept
{
    DWORD known = indexPlusOne.load(std::memory_order_acquire);
    if (known == 0) {
        const DWORD index = TlsAlloc();
        if (index == TLS_OUT_OF_INDEXES) {
            std::abort();
        }
        if (indexPlusOne.compare_exchange_strong(known, index + 1, std::memory_order_acq_rel)) {
            known = index + 1;
        } else {
            TlsFree(index);
        }
    }
    return known - 1;
}

} // namespace

ThreadImpl* GetCurrentThreadImpl() noexcept
{
    // A successful query clears the thread's last error, which callers may be about to read.
    const DWORD lastError = GetLastError();
    void* const value = TlsGetValue(GetIndex());
    SetLastError(lastError);
    return static_cast<ThreadImpl*>(value);
}

void SetCurrentThreadImpl(ThreadImpl* thread) noexcept
{
    TlsSetValue(GetIndex(), thread);
}

} // namespace QV::Impl
