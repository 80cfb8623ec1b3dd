/// What can be waited for: conditions, barriers and threads. Parameters are those of `Lockable`.
#pragma once

#include <QVRoot/Threading/Timeout.hpp>

namespace QV {

class QV_EXPORT Waitable {
public:
    virtual ~Waitable();

    /// Waits as long as it takes.
    virtual void Wait(bool interruptible = false) = 0;

    /// Answers false when the time has run out.
    virtual bool Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining = nullptr) = 0;
    virtual bool Wait(const Timeout& timeout, bool interruptible, UInt32* remaining = nullptr);

protected:
    Waitable() = default;
    Waitable(const Waitable&) = default;
    Waitable& operator=(const Waitable&) = default;
};

} // namespace QV
