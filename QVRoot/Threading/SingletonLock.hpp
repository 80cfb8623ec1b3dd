/// The process-wide lock for objects that are built on first use.
///
///     const LockGuard guard(SingletonLock::GetLock());
///
/// Reentrant, allocates nothing, needs no thread object, and works before any static constructor and until
/// the process is gone. Not interruptible, not fair.
#pragma once

#include <QVRoot/Threading/Lockable.hpp>

namespace QV {

class QV_EXPORT SingletonLock {
public:
    static Lockable& GetLock() noexcept;
};

} // namespace QV
