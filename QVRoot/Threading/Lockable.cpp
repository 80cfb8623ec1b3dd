#include <QVRoot/Threading/Lockable.hpp>

#include <QVRoot/Threading/Cancelable.hpp>
#include <QVRoot/Threading/Interruptible.hpp>
#include <QVRoot/Threading/Waitable.hpp>

namespace QV {

Cancelable::~Cancelable() = default;
Interruptible::~Interruptible() = default;
Lockable::~Lockable() = default;
Waitable::~Waitable() = default;

bool Lockable::TryAcquire(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return TryAcquire(timeout(), interruptible, remaining);
}

bool Waitable::Wait(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return Wait(timeout(), interruptible, remaining);
}

} // namespace QV
