#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/BlockMemory.h>

#include <cstring>

namespace QV {

namespace {

/// The block may not be longer than the handle interface can say.
constexpr UInt64 maxCapacity = 0x7FFFFFFF;

QVHandle AllocateHandle(UInt32 size) noexcept
{
    try {
        return BMAllocateHandle(static_cast<Int32>(size), 0, 0);
    } catch (const OutOfMemoryException&) {
        return nullptr; // the master record has no other way to fail
    }
}

} // namespace

OMemChannel::OMemChannel() : OChannel(ownProtocol_)
{
    StartBuffer();
}

OMemChannel::OMemChannel(const OMemChannel& other) : OChannel(other), status_(other.status_)
{
    if (&other.GetOutputProtocol() == &other.ownProtocol_) {
        SetOutputProtocol(ownProtocol_);
    }
    CopyBytesOf(other);
}

OMemChannel& OMemChannel::operator=(const OMemChannel& other)
{
    if (this != &other) {
        OChannel::operator=(other);
        if (&other.GetOutputProtocol() == &other.ownProtocol_) {
            SetOutputProtocol(ownProtocol_);
        }
        DropBuffer();
        status_ = other.status_;
        CopyBytesOf(other);
    }
    return *this;
}

OMemChannel::~OMemChannel()
{
    DropBuffer();
}

UInt32 OMemChannel::GetByteCount() const noexcept
{
    const char* const next = GetWindowNext();
    return next == nullptr ? buffer_.count : static_cast<UInt32>(next - *buffer_.handle) - 1;
}

/// Counts what a window has taken, and closes it.
void OMemChannel::Settle() noexcept
{
    buffer_.count = GetByteCount();
    CloseWindow();
}

QVErrCode OMemChannel::WriteBin(const char* src, UInt32 n, UInt32* written)
{
    Settle();
    if (status_ != NoError) {
        return status_;
    }
    status_ = ReserveBytes(n);
    if (status_ != NoError) {
        n = 0;
    }
    if (n != 0) {
        std::memcpy(*buffer_.handle + buffer_.count + 1, src, n);
        buffer_.count += n;
    }
    if (written != nullptr) {
        *written = n;
    }
    return status_;
}

QVErrCode OMemChannel::DirectOutputAccess(UInt32, char**, UInt32*)
{
    return ErrGeneral;
}

QVErrCode OMemChannel::GetOutputPosition(UInt64*) const
{
    return ErrGeneral;
}

void OMemChannel::SetDefaultOutputProtocol()
{
    SetOutputProtocol(ownProtocol_);
}

QVErrCode OMemChannel::PushMark()
{
    return ErrGeneral;
}

QVErrCode OMemChannel::PopMark()
{
    return ErrGeneral;
}

UInt32 OMemChannel::GetOffset() const
{
    return 0;
}

void OMemChannel::ResetOffset() {}

QVErrCode OMemChannel::GetOutputStatus() const
{
    return status_;
}

void OMemChannel::ResetOutputStatus()
{
    status_ = NoError;
}

UInt32 OMemChannel::DataSize() const
{
    return status_ == NoError ? GetByteCount() : 0;
}

char* OMemChannel::LockData()
{
    return status_ == NoError && buffer_.handle != nullptr ? *buffer_.handle + 1 : nullptr;
}

void OMemChannel::UnlockData() {}

QVErrCode OMemChannel::StartBuffer()
{
    buffer_ = Buffer();
    buffer_.handle = AllocateHandle(buffer_.step * buffer_.elementSize);
    if (buffer_.handle == nullptr) {
        return ErrMemoryFull;
    }
    buffer_.capacity = buffer_.step;
    **buffer_.handle = 0;
    return NoError;
}

/// Makes room for n more bytes behind the count, which stays below the capacity.
QVErrCode OMemChannel::ReserveBytes(UInt32 n)
{
    if (buffer_.handle == nullptr) {
        if (const QVErrCode error = StartBuffer()) {
            return error;
        }
    }
    const UInt64 count = UInt64{buffer_.count} + n;
    if (count < buffer_.capacity) {
        return NoError;
    }
    const UInt64 capacity = (count / buffer_.step + 1) * buffer_.step;
    if (capacity * buffer_.elementSize > maxCapacity) {
        return ErrMemoryFull; // refused before anything is touched
    }
    constexpr UInt32 killOnFailure = 0x20;
    buffer_.handle =
        BMReallocHandle(buffer_.handle, static_cast<Int32>(capacity * buffer_.elementSize), killOnFailure, 0);
    if (buffer_.handle == nullptr) {
        buffer_ = Buffer();
        return BMErrorNotClear();
    }
    buffer_.capacity = static_cast<UInt32>(capacity);
    return NoError;
}

void OMemChannel::CopyBytesOf(const OMemChannel& other)
{
    if (other.buffer_.handle == nullptr) {
        return;
    }
    QVHandle const handle = AllocateHandle(other.buffer_.capacity * other.buffer_.elementSize);
    if (handle == nullptr) {
        status_ = ErrMemoryFull;
        return;
    }
    buffer_ = other.buffer_;
    buffer_.count = other.GetByteCount();
    buffer_.handle = handle;
    std::memcpy(*handle, *other.buffer_.handle, buffer_.count + 1);
}

void OMemChannel::DropBuffer() noexcept
{
    CloseWindow();
    BMKillHandle(&buffer_.handle);
    buffer_ = Buffer();
}

} // namespace QV
