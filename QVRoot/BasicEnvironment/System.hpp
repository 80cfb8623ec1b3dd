/// Facts about the running system.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class QV_EXPORT System {
public:
    /// Milliseconds since some moment before the process began. Never goes back, whatever becomes of the wall
    /// clock.
    static UInt64 GetCurrentTimeMillis() noexcept;
};

} // namespace QV
