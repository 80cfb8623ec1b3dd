/// What the library knows about the calling thread.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

class ThreadImpl;

/// The operating system's id of the calling thread, never 0.
inline UInt32 GetCurrentId() noexcept
{
    // The environment block's layout on 64-bit Windows, unchanged since the first version of it.
    UInt32 id;
    __asm__("movl %%gs:0x48, %0" : "=r"(id));
    return id;
}

/// The same without asking the system, where that is needed: 0 then.
inline UInt32 GetCurrentIdIfKnown() noexcept
{
    return GetCurrentId();
}

/// The calling thread's object; null when it has none yet.
ThreadImpl* GetCurrentThreadImpl() noexcept;
void SetCurrentThreadImpl(ThreadImpl* thread) noexcept;

} // namespace QV::Impl
