/// The operating system's semaphore behind a `NamedSemaphore`.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>

namespace QV {

class UniString;

namespace Impl {

class NamedSemaphoreImpl {
public:
    virtual ~NamedSemaphoreImpl();

    /// Throw `SynchronizationException` when the system refuses.
    virtual void Acquire() = 0;
    virtual bool TryAcquire(UInt32 timeoutMs) = 0;
    virtual void Release() = 0;
};

/// Opens or makes the semaphore; throws `SynchronizationException`. To be destroyed by
/// `DestroyImplementation`.
NamedSemaphoreImpl* OpenNamedSemaphore(const UniString& name, UInt32 initialCount);

constexpr UInt32 namedSemaphoreMaximum = 0x7FFFFFFF;

} // namespace Impl

} // namespace QV
