/// How the busy locks pass the time: the processor is given to others between attempts.
#pragma once

#include <QVRoot/Threading/SpinLockImpl.hpp>

namespace QV::Impl {

class BusyWait {
public:
    /// After a few thousand times it sleeps, or a waiter of high priority would keep the owner from its
    /// processor for ever.
    void Yield() noexcept { YieldWhileSpinning(round_++ / 64); }

private:
    UInt32 round_ = 0;
};

} // namespace QV::Impl
