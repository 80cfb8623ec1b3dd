#include <QVRoot/Threading/Timeout.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV {

namespace {

/// A time that does not fit goes unpunished: the exception is made, for whoever watches them, and dropped.
void DiscardDomainError() noexcept
{
    try {
        const IllegalArgumentException discarded(
            "Invalid timeout: the specified amount of time exceed the timeout domain.", QV_SOURCE_FILE,
            __LINE__);
    } catch (...) {
    }
}

} // namespace

Timeout::Timeout(UInt32 hours, UInt32 minutes, UInt32 seconds, UInt32 milliseconds) noexcept
{
    const UInt64 sum = ((UInt64{hours} * 60 + minutes) * 60 + seconds) * 1000 + milliseconds;
    if (sum > 0xFFFFFFFF) {
        DiscardDomainError();
    }
    milliseconds_ = static_cast<UInt32>(sum);
}

} // namespace QV
