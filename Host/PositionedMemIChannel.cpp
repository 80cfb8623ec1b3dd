#include <Host/PositionedMemIChannel.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Host {

PositionedMemIChannel::PositionedMemIChannel(const void* data, UInt64 size) noexcept
    : data_(static_cast<const char*>(data)), rest_(size)
{
}

QVErrCode PositionedMemIChannel::ReadSource(char* dest, UInt32 n, UInt32* got)
{
    *got = static_cast<UInt32>(std::min<UInt64>(n, rest_));
    if (*got != 0) {
        std::memcpy(dest, data_, *got);
        data_ += *got;
        rest_ -= *got;
    }
    return NoError;
}

QVErrCode PositionedMemIChannel::SkipSource(UInt64 n, UInt64* skipped)
{
    *skipped = std::min(n, rest_);
    data_ += *skipped;
    rest_ -= *skipped;
    return NoError;
}

QVErrCode PositionedMemIChannel::GetSourceAvailable(UInt64* n) const
{
    *n = rest_;
    return NoError;
}

} // namespace QV::Host
