#include <QVRoot/Channel/MemoryIBinaryChannel.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

namespace QV {

MemoryIBinaryChannel::MemoryIBinaryChannel(const void* data, UInt64 size)
{
    if (data == nullptr && size != 0) {
        QV_THROW(IllegalArgumentException, "the block is null");
    }
    const char* const begin = static_cast<const char*>(data);
    SetWindow(begin, begin + size);
}

MemoryIBinaryChannel::~MemoryIBinaryChannel() = default;

UInt64 MemoryIBinaryChannel::GetAvailable()
{
    Settle();
    return GetWindow();
}

bool MemoryIBinaryChannel::IsEOI()
{
    Settle();
    return GetWindow() == 0;
}

void MemoryIBinaryChannel::Close()
{
    Settle();
    SetWindow(nullptr, nullptr);
    closed_ = true;
}

UInt32 MemoryIBinaryChannel::ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector)
{
    RequireOpen();
    return TakeFromWindow(dest, n);
}

UInt64 MemoryIBinaryChannel::SkipBytes(UInt64)
{
    RequireOpen();
    return 0;
}

void MemoryIBinaryChannel::RequireOpen() const
{
    if (closed_) {
        QV_THROW(ClosedChannelException, "the channel is closed");
    }
}

} // namespace QV
