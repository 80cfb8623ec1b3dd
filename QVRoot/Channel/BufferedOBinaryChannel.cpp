#include <QVRoot/Channel/BinaryBufferImpl.hpp>
#include <QVRoot/Channel/BufferedOBinaryChannel.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

#include <utility>

namespace QV {

BufferedOBinaryChannel::BufferedOBinaryChannel(BinaryChannelRef<OBinaryChannel> underlying, UInt32 bufferSize)
    : FilterOBinaryChannel(std::move(underlying)), bufferSize_(bufferSize),
      buffer_(Impl::AllocateBinaryBuffer(bufferSize))
{
    SetWindow(buffer_, buffer_ + bufferSize_);
}

BufferedOBinaryChannel::~BufferedOBinaryChannel()
{
    MemoryManager::Free(buffer_);
}

void BufferedOBinaryChannel::Flush()
{
    RequireOpen();
    HandOn();
    GetUnderlying().Flush();
}

void BufferedOBinaryChannel::Close()
{
    RequireOpen();
    HandOn();
    SetWindow(nullptr, nullptr);
    closed_ = true;
    GetUnderlying().Close();
}

void BufferedOBinaryChannel::WriteBytes(const char* data, UInt32 n)
{
    RequireOpen();
    if (n > GetRoom()) {
        HandOn();
    }
    if (n >= bufferSize_) {
        GetUnderlying().Write(data, n);
    } else if (n != 0) {
        Append(data, n);
    }
}

void BufferedOBinaryChannel::HandOn()
{
    const UInt32 used = static_cast<UInt32>(GetWindowPosition() - buffer_);
    if (used != 0) {
        GetUnderlying().Write(buffer_, used);
        SetWindow(buffer_, buffer_ + bufferSize_);
    }
}

void BufferedOBinaryChannel::RequireOpen() const
{
    if (closed_) {
        QV_THROW(ClosedChannelException, "the channel is closed");
    }
}

} // namespace QV
