#include <QVRoot/Channel/BinaryBufferImpl.hpp>
#include <QVRoot/Channel/BufferedIBinaryChannel.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

#include <utility>

namespace QV {

BufferedIBinaryChannel::BufferedIBinaryChannel(BinaryChannelRef<IBinaryChannel> underlying, UInt32 bufferSize)
    : FilterIBinaryChannel(std::move(underlying)), bufferSize_(bufferSize),
      buffer_(Impl::AllocateBinaryBuffer(bufferSize))
{
}

BufferedIBinaryChannel::~BufferedIBinaryChannel()
{
    Settle();
    MemoryManager::Free(buffer_);
}

UInt64 BufferedIBinaryChannel::GetAvailable()
{
    Settle();
    return closed_ ? 0 : GetWindow() + GetUnderlying().GetAvailable();
}

bool BufferedIBinaryChannel::IsEOI()
{
    Settle();
    return closed_ || (GetWindow() == 0 && GetUnderlying().IsEOI());
}

void BufferedIBinaryChannel::Close()
{
    Settle();
    SetWindow(nullptr, nullptr);
    closed_ = true;
    GetUnderlying().Close();
}

UInt32 BufferedIBinaryChannel::ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode)
{
    RequireOpen();
    UInt32 total = TakeFromWindow(dest, n);
    while (total == 0 || (mode == ReadAll && total < n)) {
        const UInt32 got = ReadPiece(dest + total, n - total, mode);
        if (got == 0) {
            break;
        }
        total += got;
    }
    return total;
}

/// The window is empty: past the buffer what would fill it anyway, the rest by way of it.
UInt32 BufferedIBinaryChannel::ReadPiece(char* dest, UInt32 n, ReadSomeModeSelector mode)
{
    if (n >= bufferSize_) {
        return GetUnderlying().Read(dest, n, mode);
    }
    const UInt32 got = GetUnderlying().Read(buffer_, bufferSize_, ReadAtLeastOne);
    SetWindow(buffer_, buffer_ + got);
    return TakeFromWindow(dest, n);
}

UInt64 BufferedIBinaryChannel::SkipBytes(UInt64 n)
{
    RequireOpen();
    return GetUnderlying().SkipSome(n);
}

void BufferedIBinaryChannel::RequireOpen() const
{
    if (closed_) {
        QV_THROW(ClosedChannelException, "the channel is closed");
    }
}

} // namespace QV
