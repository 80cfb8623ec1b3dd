#include <QVRoot/Channel/ChannelFaultsImpl.hpp>
#include <QVRoot/Channel/IBinaryChannelAdapter.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

namespace QV {

IBinaryChannelAdapter::IBinaryChannelAdapter(IChannel& channel) noexcept : channel_(channel) {}

IBinaryChannelAdapter::~IBinaryChannelAdapter() = default;

UInt64 IBinaryChannelAdapter::GetAvailable()
{
    UInt64 available = 0;
    return !closed_ && channel_.GetAvailable(&available) == NoError ? available : 0;
}

bool IBinaryChannelAdapter::IsEOI()
{
    if (closed_ || channel_.GetInputStatus() == ErrEndOfInput) {
        return true;
    }
    char c = 0;
    const QVErrCode error = channel_.Look(0, &c);
    if (error == NoError || error == ErrEndOfInput) {
        return error == ErrEndOfInput;
    }
    UInt64 available = 0;
    return channel_.GetAvailable(&available) == NoError && available == 0;
}

void IBinaryChannelAdapter::Close()
{
    closed_ = true;
}

UInt32 IBinaryChannelAdapter::ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode)
{
    if (closed_) {
        QV_THROW(ClosedChannelException, "the channel is closed");
    }
    UInt32 got = 0;
    QVErrCode error =
        mode == ReadAll ? Impl::ReadFully(channel_, dest, n, &got) : channel_.ReadBin(dest, n, &got);
    if (error == NoError && got == 0) {
        error = ErrRead; // neither data nor an error is no answer
    }
    if (error != NoError && error != ErrEndOfInput) {
        Impl::ThrowReadFault(error);
    }
    return got;
}

} // namespace QV
