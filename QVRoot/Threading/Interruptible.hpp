/// What can be told that the thread which uses it was interrupted. See `Thread::BlockOn`.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class QV_EXPORT Interruptible {
public:
    virtual ~Interruptible();

    /// Called on the interrupting thread. Exceptions are swallowed.
    virtual void Interrupt() = 0;

protected:
    Interruptible() = default;
    Interruptible(const Interruptible&) = default;
    Interruptible& operator=(const Interruptible&) = default;
};

} // namespace QV
