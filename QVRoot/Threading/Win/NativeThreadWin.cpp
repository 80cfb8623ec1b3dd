#include <QVRoot/Threading/NativeThreadImpl.hpp>

#include <atomic>
#include <process.h>

#include <windows.h>

#undef YieldProcessor

namespace QV::Impl {

namespace {

unsigned __stdcall Main(void* thread)
{
    RunStartedThread(static_cast<ThreadImpl*>(thread));
    return 0;
}

/// The thread's own handle, or one opened for the length of a scope.
class ThreadHandle {
public:
    ThreadHandle(const NativeThread& native, UInt32 id, DWORD access) noexcept
        : handle_(native.handle), isOpened_(handle_ == nullptr)
    {
        if (isOpened_) {
            handle_ = OpenThread(access, FALSE, id);
        }
    }
    ~ThreadHandle()
    {
        if (isOpened_ && handle_ != nullptr) {
            CloseHandle(handle_);
        }
    }
    ThreadHandle(const ThreadHandle&) = delete;
    ThreadHandle& operator=(const ThreadHandle&) = delete;

    HANDLE Get() const noexcept { return handle_; }

private:
    HANDLE handle_;
    bool isOpened_;
};

constinit std::atomic<DWORD> mainThreadId = 0;

using ShutdownQuery = BOOLEAN(NTAPI*)();

ShutdownQuery FindShutdownQuery() noexcept
{
    const HMODULE module = GetModuleHandleW(L"ntdll.dll");
    return reinterpret_cast<ShutdownQuery>(
        reinterpret_cast<void*>(GetProcAddress(module, "RtlDllShutdownInProgress")));
}

// Found when the library is loaded: a thread that ends must not ask the loader, which may wait for it.
const ShutdownQuery isShuttingDown = FindShutdownQuery();
[[maybe_unused]] const UInt32 mainThreadNoted = GetMainThreadId();

} // namespace

bool StartNativeThread(NativeThread& native, ThreadImpl* thread) noexcept
{
    unsigned id;
    const uintptr_t handle = _beginthreadex(nullptr, 0, &Main, thread, 0, &id);
    native.handle = reinterpret_cast<void*>(handle);
    return handle != 0;
}

void CloseNativeThread(NativeThread& native) noexcept
{
    if (native.handle != nullptr) {
        CloseHandle(native.handle);
        native.handle = nullptr;
    }
}

void PassOnForcedUnwinding() {} // there is none here

bool SetNativePriority(const NativeThread& native, UInt32 id, Int32 priority) noexcept
{
    const ThreadHandle handle(native, id, THREAD_SET_INFORMATION);
    return handle.Get() != nullptr && SetThreadPriority(handle.Get(), priority);
}

bool GetNativePriority(const NativeThread& native, UInt32 id, Int32& priority) noexcept
{
    const ThreadHandle handle(native, id, THREAD_QUERY_INFORMATION);
    if (handle.Get() == nullptr) {
        return false;
    }
    priority = GetThreadPriority(handle.Get());
    return priority != THREAD_PRIORITY_ERROR_RETURN;
}

UInt32 GetMainThreadId() noexcept
{
    // Whoever loads the library is taken for the main thread; with an import, it is.
    DWORD id = mainThreadId.load(std::memory_order_relaxed);
    if (id == 0 && mainThreadId.compare_exchange_strong(id, GetCurrentThreadId())) {
        id = GetCurrentThreadId();
    }
    return id;
}

bool IsProcessEnding() noexcept
{
    return isShuttingDown != nullptr && isShuttingDown();
}

void YieldProcessor() noexcept
{
    SwitchToThread();
}

} // namespace QV::Impl
