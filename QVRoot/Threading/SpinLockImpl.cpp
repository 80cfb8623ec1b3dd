#include <QVRoot/Threading/SpinLockImpl.hpp>

namespace QV::Impl {

void SpinLock::LockContended() noexcept
{
    // On a busy machine the owner may have lost its processor: yield early.
    for (UInt32 round = 0; !TryLock(); ++round) {
        if (round % 32 == 31) {
            YieldWhileSpinning(round / 32);
        }
    }
}

} // namespace QV::Impl
