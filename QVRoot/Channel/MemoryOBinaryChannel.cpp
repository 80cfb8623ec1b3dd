#include <QVRoot/Channel/MemoryOBinaryChannel.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

#include <algorithm>

namespace QV {

MemoryOBinaryChannel::MemoryOBinaryChannel(UInt64 limit) noexcept : limit_(limit) {}

MemoryOBinaryChannel::~MemoryOBinaryChannel()
{
    MemoryManager::Free(block_);
}

void MemoryOBinaryChannel::Flush() {}

void MemoryOBinaryChannel::Close()
{
    closed_ = true;
    SetWindow(GetWindowPosition(), GetWindowPosition());
}

void MemoryOBinaryChannel::Clear() noexcept
{
    SetWindow(block_, closed_ ? block_ : block_ + capacity_);
}

char* MemoryOBinaryChannel::Reserve(UInt32 n, USize& room)
{
    RequireRoom(n);
    room = GetRoom();
    return GetWindowPosition();
}

void MemoryOBinaryChannel::WriteBytes(const char* data, UInt32 n)
{
    RequireRoom(n);
    if (n != 0) {
        Append(data, n);
    }
}

void MemoryOBinaryChannel::RequireRoom(UInt32 n)
{
    if (closed_) {
        QV_THROW(ClosedChannelException, "the channel is closed");
    }
    const UInt64 size = GetSize();
    if (n > limit_ - size) {
        QV_THROW(MemoryOBinaryChannelBufferFullException, "the channel's buffer is full");
    }
    if (n > GetRoom()) {
        Grow(size + n);
    }
}

void MemoryOBinaryChannel::Grow(UInt64 needed)
{
    constexpr UInt64 leastCapacity = 256;
    const UInt64 size = GetSize();
    const UInt64 capacity = std::min(limit_, std::max({needed, capacity_ * 2, leastCapacity}));
    void* const block =
        block_ == nullptr ? MemoryManager::Allocate(capacity, MemoryManager::ThrowOnFailure, true)
                          : MemoryManager::Reallocate(block_, capacity, MemoryManager::ThrowOnFailure, true);
    block_ = static_cast<char*>(block);
    capacity_ = capacity;
    SetWindow(block_ + size, block_ + capacity);
}

} // namespace QV
