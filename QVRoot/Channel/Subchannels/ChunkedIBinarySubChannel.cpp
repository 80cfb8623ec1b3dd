#include <QVRoot/Channel/Subchannels/ChunkedIBinarySubChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

#include <algorithm>
#include <utility>

namespace QV {

ChunkedIBinarySubChannel::ChunkedIBinarySubChannel(BinaryChannelRef<IBinaryChannel> underlying,
                                                   const IProtocolX& protocol)
    : IBinarySubChannel(std::move(underlying), protocol)
{
}

ChunkedIBinarySubChannel::ChunkedIBinarySubChannel(const IChannelX& underlying)
    : ChunkedIBinarySubChannel(underlying.GetChannelRef(), underlying.GetProtocol())
{
}

ChunkedIBinarySubChannel::~ChunkedIBinarySubChannel() = default;

UInt64 ChunkedIBinarySubChannel::GetAvailable()
{
    Settle();
    EnterChunk();
    return static_cast<UInt64>(std::max(static_cast<Int32>(remaining_), 0));
}

bool ChunkedIBinarySubChannel::IsEOI()
{
    if (GetWindow() != 0) {
        return false;
    }
    Settle();
    return !EnterChunk();
}

void ChunkedIBinarySubChannel::Close()
{
    Settle();
    while (EnterChunk()) {
        remaining_ -= static_cast<UInt32>(SkipInside(remaining_));
    }
}

UInt32 ChunkedIBinarySubChannel::ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode)
{
    if (!EnterChunk()) {
        return 0;
    }
    const UInt32 got = ReadInside(dest, std::min(remaining_, n), mode);
    remaining_ -= got;
    Borrow(GetUnderlying(), remaining_);
    return got;
}

UInt64 ChunkedIBinarySubChannel::SkipBytes(UInt64 n)
{
    if (!EnterChunk()) {
        return 0;
    }
    const UInt64 passed = SkipInside(std::min<UInt64>(remaining_, n));
    remaining_ -= static_cast<UInt32>(passed);
    return passed;
}

void ChunkedIBinarySubChannel::OnReturned(USize consumed) noexcept
{
    remaining_ -= static_cast<UInt32>(consumed);
}

void ChunkedIBinarySubChannel::ReadHeader()
{
    Settle();
    if (remaining_ != 0) {
        QV_THROW(PreconditionException, "the current chunk has not been read");
    }
    UInt32 length = 0;
    GetProtocol().Read(GetUnderlying(), length);
    remaining_ = length == 0 ? Finished : length;
}

bool ChunkedIBinarySubChannel::EnterChunk()
{
    if (remaining_ == 0) {
        ReadHeader();
    }
    return remaining_ != Finished;
}

} // namespace QV
