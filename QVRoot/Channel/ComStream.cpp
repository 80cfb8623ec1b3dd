#include <QVRoot/BasicEnvironment/ClockImpl.hpp>
#include <QVRoot/Channel/ComStream.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/Threading/Atomic.hpp>

#include <algorithm>
#include <cstring>

namespace QV {

namespace {

Com::FileTime GetFileTime()
{
    constexpr UInt64 ticksTo1970 = 116444736000000000;
    constexpr UInt64 ticksPerMillisecond = 10000;
    const UInt64 ticks =
        static_cast<UInt64>(Impl::GetCurrentMilliseconds()) * ticksPerMillisecond + ticksTo1970;
    return {static_cast<UInt32>(ticks), static_cast<UInt32>(ticks >> 32)};
}

} // namespace

ComStream::ComStream(const void* data, UInt32 size, bool readOnly) noexcept
    : data_(data), size_(size), readOnly_(readOnly)
{
}

ComStream::~ComStream() = default;

void* ComStream::operator new(std::size_t size) noexcept
{
    return MemoryManager::Allocate(size, MemoryManager::ReturnNullOnFailure, false);
}

void ComStream::operator delete(void* block) noexcept
{
    MemoryManager::Free(block);
}

Com::Result ComStream::QueryInterface(const Guid& id, void** object)
{
    if (object == nullptr) {
        return Com::InvalidPointer;
    }
    if (id != Com::UnknownId && id != Com::StreamId) {
        *object = nullptr;
        return Com::NoInterface;
    }
    *object = static_cast<Com::IStream*>(this);
    AddRef();
    return Com::Ok;
}

UInt32 ComStream::AddRef()
{
    return AtomicIncrement(&referenceCount_);
}

UInt32 ComStream::Release()
{
    const UInt32 left = AtomicDecrement(&referenceCount_);
    if (left == 0) {
        delete this;
    }
    return left;
}

Com::Result ComStream::Read(void* buffer, UInt32 n, UInt32* read)
{
    if (buffer == nullptr) {
        return Com::InvalidPointer;
    }
    UInt32 size = 0;
    const char* const bytes = GetBytes(&size);
    if (position_ >= size) {
        return Com::False;
    }
    n = std::min(n, size - position_);
    std::memcpy(buffer, bytes + position_, n);
    position_ += n;
    if (read != nullptr) {
        *read = n;
    }
    return Com::Ok;
}

Com::Result ComStream::Seek(Int64 offset, UInt32 origin, UInt64* newPosition)
{
    if (origin > Com::SeekFromEnd) {
        return Com::InvalidFunction;
    }
    const UInt64 base = origin == Com::SeekFromStart      ? 0
                        : origin == Com::SeekFromPosition ? position_
                                                          : size_;
    const Int64 place = static_cast<Int64>(base + static_cast<UInt64>(offset));
    if (place >= 0) {
        position_ = static_cast<UInt32>(place);
    }
    if (newPosition != nullptr) {
        *newPosition = place >= 0 ? position_ : static_cast<UInt64>(place);
    }
    return place >= 0 ? Com::Ok : Com::InvalidFunction;
}

Com::Result ComStream::Commit(UInt32)
{
    return Com::NotImplemented;
}

Com::Result ComStream::Revert()
{
    return Com::NotImplemented;
}

Com::Result ComStream::LockRegion(UInt64, UInt64, UInt32)
{
    return Com::NotImplemented;
}

Com::Result ComStream::UnlockRegion(UInt64, UInt64, UInt32)
{
    return Com::NotImplemented;
}

Com::Result ComStream::Stat(Com::StreamStatus* status, UInt32)
{
    if (status == nullptr) {
        return Com::InvalidPointer;
    }
    UInt32 size = 0;
    GetBytes(&size);
    *status = {};
    status->type = Com::StreamType;
    status->size = size;
    status->modified = GetFileTime();
    status->created = status->modified;
    status->accessed = status->modified;
    status->locksSupported = 1;
    return Com::Ok;
}

Com::Result ComStream::Clone(Com::IStream**)
{
    return Com::NotImplemented;
}

} // namespace QV
