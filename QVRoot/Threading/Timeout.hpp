/// An amount of time in milliseconds, as every timed operation takes it.
///
///     lock.TryAcquire(Timeout(0, 0, 1, 500), true);
///
/// Threads: a value. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class Timeout {
public:
    /// No limit.
    static constexpr UInt32 Infinite = 0xFFFFFFFF;

    /// The sum of the four, which need not be below 60 or 1000. Of a sum that does not fit, the low 32 bits
    /// are kept: 1193:02:47.296 is 0.
    QV_EXPORT Timeout(UInt32 hours, UInt32 minutes, UInt32 seconds, UInt32 milliseconds) noexcept;
    Timeout(const Timeout&) noexcept = default;
    Timeout(Timeout&&) noexcept = default;
    Timeout& operator=(const Timeout&) noexcept = default;
    Timeout& operator=(Timeout&&) noexcept = default;

    /// The milliseconds.
    UInt32 operator()() const noexcept { return milliseconds_; }

private:
    UInt32 milliseconds_;
};

} // namespace QV
