#include <QVRoot/Channel/ChannelFaultsImpl.hpp>
#include <QVRoot/Channel/OBinaryChannelAdapter.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

namespace QV {

OBinaryChannelAdapter::OBinaryChannelAdapter(OChannel& channel) noexcept : channel_(channel) {}

OBinaryChannelAdapter::~OBinaryChannelAdapter() = default;

void OBinaryChannelAdapter::Flush()
{
    RequireOpen();
    if (const QVErrCode error = channel_.Flush()) {
        Impl::ThrowWriteFault(error);
    }
}

void OBinaryChannelAdapter::Close()
{
    closed_ = true;
}

void OBinaryChannelAdapter::WriteBytes(const char* data, UInt32 n)
{
    RequireOpen();
    if (const QVErrCode error = Impl::WriteFully(channel_, data, n)) {
        Impl::ThrowWriteFault(error);
    }
}

void OBinaryChannelAdapter::RequireOpen() const
{
    if (closed_) {
        QV_THROW(ClosedChannelException, "the channel is closed");
    }
}

} // namespace QV
