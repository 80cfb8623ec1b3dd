/// Fills the `remaining` parameter of a timed operation when the operation ends. Reads no clock without one.
#pragma once

#include <QVRoot/BasicEnvironment/System.hpp>

namespace QV::Impl {

class RemainingTime {
public:
    RemainingTime(UInt32 timeoutMs, UInt32* remaining) noexcept
        : start_(remaining == nullptr ? 0 : System::GetCurrentTimeMillis()), remaining_(remaining),
          timeoutMs_(timeoutMs)
    {
    }
    ~RemainingTime()
    {
        if (remaining_ != nullptr) {
            const UInt64 elapsed = System::GetCurrentTimeMillis() - start_;
            *remaining_ = elapsed < timeoutMs_ ? timeoutMs_ - static_cast<UInt32>(elapsed) : 0;
        }
    }
    RemainingTime(const RemainingTime&) = delete;
    RemainingTime& operator=(const RemainingTime&) = delete;

private:
    UInt64 start_;
    UInt32* remaining_;
    UInt32 timeoutMs_;
};

} // namespace QV::Impl
