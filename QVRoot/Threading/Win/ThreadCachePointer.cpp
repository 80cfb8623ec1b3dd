#include <ThreadCachePointerImpl.hpp>

#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <windows.h>

namespace QV::Impl {

namespace {

// The environment block's layout on 64-bit Windows, unchanged since the first version of it.
constexpr UInt32 slotsOffset = 0x1480;
constexpr UInt32 slotsInBlock = 64;

} // namespace

constinit std::atomic<UInt32> ThreadCachePointer::offset_ = ThreadCachePointer::NotPrepared;
constinit std::atomic<UInt32> ThreadCachePointer::index_ = 0;

bool ThreadCachePointer::Prepare() noexcept
{
    static constinit CriticalSection lock;
    if (offset_.load(std::memory_order_acquire) != NotPrepared) {
        return true;
    }
    const CriticalSectionGuard guard(lock);
    if (offset_.load(std::memory_order_acquire) == NotPrepared) {
        const DWORD index = TlsAlloc();
        if (index == TLS_OUT_OF_INDEXES) {
            return false;
        }
        index_.store(index, std::memory_order_relaxed);
        offset_.store(index < slotsInBlock ? slotsOffset + index * 8 : UInt32{Outside},
                      std::memory_order_release);
    }
    return true;
}

void ThreadCachePointer::Set(void* cache) noexcept
{
    TlsSetValue(index_.load(std::memory_order_relaxed), cache);
}

void* ThreadCachePointer::GetOutside() noexcept
{
    const DWORD lastError = GetLastError();
    void* const cache = TlsGetValue(index_.load(std::memory_order_relaxed));
    SetLastError(lastError);
    return cache;
}

} // namespace QV::Impl
