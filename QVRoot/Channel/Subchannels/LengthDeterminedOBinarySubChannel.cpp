#include <QVRoot/Channel/Subchannels/LengthDeterminedOBinarySubChannel.hpp>

#include <algorithm>
#include <utility>

namespace QV {

LengthDeterminedOBinarySubChannel::LengthDeterminedOBinarySubChannel(
    BinaryChannelRef<OBinaryChannel> underlying, const OProtocolX& protocol)
    : OBinarySubChannel(std::move(underlying), protocol)
{
}

LengthDeterminedOBinarySubChannel::LengthDeterminedOBinarySubChannel(const OChannelX& underlying)
    : LengthDeterminedOBinarySubChannel(underlying.GetChannelRef(), underlying.GetProtocol())
{
}

LengthDeterminedOBinarySubChannel::~LengthDeterminedOBinarySubChannel() = default;

void LengthDeterminedOBinarySubChannel::Flush()
{
    buffer_.Flush();
}

void LengthDeterminedOBinarySubChannel::Close()
{
    if (IsClosed()) {
        return;
    }
    buffer_.Flush();
    const char* data = buffer_.GetData();
    UInt64 left = buffer_.GetSize();
    GetProtocol().Write(GetUnderlying(), left);
    while (left != 0) {
        constexpr UInt64 mostAtOnce = 0x40000000;
        const UInt32 piece = static_cast<UInt32>(std::min(left, mostAtOnce));
        GetUnderlying().Write(data, piece);
        data += piece;
        left -= piece;
    }
    SetClosed();
}

void LengthDeterminedOBinarySubChannel::WriteBytes(const char* data, UInt32 n)
{
    RequireOpen();
    buffer_.Write(data, n);
}

} // namespace QV
