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
    TakeIn();
    buffer_.Flush();
}

void LengthDeterminedOBinarySubChannel::Close()
{
    if (IsClosed()) {
        return;
    }
    Flush();
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
    TakeIn();
    if (n != 0) {
        USize room = 0;
        reserved_ = buffer_.Reserve(n, room);
        SetWindow(reserved_, reserved_ + room);
        Append(data, n);
    }
}

/// What was written through the window belongs to the buffer now.
void LengthDeterminedOBinarySubChannel::TakeIn() noexcept
{
    buffer_.Commit(static_cast<USize>(GetWindowPosition() - reserved_));
    reserved_ = nullptr;
    SetWindow(nullptr, nullptr);
}

} // namespace QV
