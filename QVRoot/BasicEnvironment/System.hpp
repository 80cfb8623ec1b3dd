/// What the operating system tells about itself.
///
/// Threads: everything may be called from any thread. Errors, allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class QV_EXPORT System {
public:
    /// Milliseconds of a clock that never goes back and that setting the time does not move. Only the
    /// difference of two values means something.
    static UInt64 GetCurrentTimeMillis() noexcept;
};

} // namespace QV
