#include <QVRoot/Channel/Subchannels/LengthDeterminedIBinarySubChannel.hpp>

#include <algorithm>
#include <utility>

namespace QV {

LengthDeterminedIBinarySubChannel::LengthDeterminedIBinarySubChannel(
    BinaryChannelRef<IBinaryChannel> underlying, const IProtocolX& protocol)
    : IBinarySubChannel(std::move(underlying), protocol)
{
    GetProtocol().Read(GetUnderlying(), length_);
}

LengthDeterminedIBinarySubChannel::LengthDeterminedIBinarySubChannel(const IChannelX& underlying)
    : LengthDeterminedIBinarySubChannel(underlying.GetChannelRef(), underlying.GetProtocol())
{
}

LengthDeterminedIBinarySubChannel::~LengthDeterminedIBinarySubChannel() = default;

UInt64 LengthDeterminedIBinarySubChannel::GetPosition() noexcept
{
    Settle();
    return position_;
}

UInt64 LengthDeterminedIBinarySubChannel::GetAvailable()
{
    Settle();
    return std::min(length_ - position_, GetUnderlying().GetAvailable());
}

bool LengthDeterminedIBinarySubChannel::IsEOI()
{
    if (GetWindow() != 0) {
        return false;
    }
    Settle();
    return position_ >= length_;
}

void LengthDeterminedIBinarySubChannel::Close()
{
    Settle();
    while (position_ != length_) {
        position_ += SkipInside(length_ - position_);
    }
}

UInt32 LengthDeterminedIBinarySubChannel::ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode)
{
    const UInt32 wanted = static_cast<UInt32>(std::min<UInt64>(length_ - position_, n));
    if (wanted == 0) {
        return 0;
    }
    const UInt32 got = ReadInside(dest, wanted, mode);
    position_ += got;
    Borrow(GetUnderlying(), length_ - position_);
    return got;
}

UInt64 LengthDeterminedIBinarySubChannel::SkipBytes(UInt64 n)
{
    const UInt64 wanted = std::min(length_ - position_, n);
    if (wanted == 0) {
        return 0;
    }
    const UInt64 passed = SkipInside(wanted);
    position_ += passed;
    return passed;
}

void LengthDeterminedIBinarySubChannel::OnReturned(USize consumed) noexcept
{
    position_ += consumed;
}

} // namespace QV
