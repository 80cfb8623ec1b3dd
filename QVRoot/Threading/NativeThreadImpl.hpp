/// The operating system's side of a thread.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

class ThreadImpl;

/// A started thread as the system knows it; empty for one that was not started here.
struct NativeThread {
    void* handle = nullptr;
};

/// Starts a thread that calls `RunStartedThread(thread)`. False when the system has none to give.
bool StartNativeThread(NativeThread& native, ThreadImpl* thread) noexcept;
/// Gives up the handle; the thread goes on.
void CloseNativeThread(NativeThread& native) noexcept;

/// The body of a started thread, defined with `ThreadImpl`. Only a forced unwinding of the thread leaves it.
void RunStartedThread(ThreadImpl* thread);

/// To be called in a handler for everything: passes on what is no exception, but the system's way of ending a
/// thread by force.
void PassOnForcedUnwinding();

/// Priorities of the system: -2 to 2. Where the system cannot tell, the second leaves `priority` as it is.
bool SetNativePriority(const NativeThread& native, UInt32 id, Int32 priority) noexcept;
bool GetNativePriority(const NativeThread& native, UInt32 id, Int32& priority) noexcept;

UInt32 GetMainThreadId() noexcept;

/// Whether the process is on its way out and its other threads are gone. May be asked by an ending thread.
bool IsProcessEnding() noexcept;

/// Gives the processor to another thread that can run.
void YieldProcessor() noexcept;

} // namespace QV::Impl
