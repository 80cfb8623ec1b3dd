/// The operating system's semaphore behind a `NamedSemaphore`. The class is each platform's own.
#pragma once

#include <QVRoot/Threading/Timeout.hpp>

namespace QV {

class UniString;

namespace Impl {

class NamedSemaphoreImpl;

constexpr UInt32 namedSemaphoreMaximum = 0x7FFFFFFF;

/// Opens or makes the semaphore. This and the next two throw `SynchronizationException` when the system
/// refuses.
NamedSemaphoreImpl* OpenNamedSemaphore(const UniString& name, UInt32 initialCount);
/// Answers false when the time has run out.
bool AcquireNamedSemaphore(NamedSemaphoreImpl& semaphore, UInt32 timeoutMs);
void ReleaseNamedSemaphore(NamedSemaphoreImpl& semaphore);
void CloseNamedSemaphore(NamedSemaphoreImpl* semaphore) noexcept;

} // namespace Impl

} // namespace QV
