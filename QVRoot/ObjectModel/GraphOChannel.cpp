#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/GraphOChannelImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl {

namespace {

constexpr UInt32 firstCapacity = 4096;
constexpr UInt32 maxCapacity = 0x7FFFFFFF;

} // namespace

GraphOChannel::~GraphOChannel()
{
    MemoryManager::Free(block_);
}

UInt32 GraphOChannel::GetPosition() const noexcept
{
    const char* const next = GetWindowNext();
    return next == nullptr ? position_ : static_cast<UInt32>(next - block_);
}

/// Goes there and opens the window from there on, where the protocol allows one.
void GraphOChannel::MoveTo(UInt32 position) noexcept
{
    end_ = GetSize();
    position_ = position;
    if (block_ != nullptr && status_ == NoError && native_) {
        OpenWindow(block_ + position, block_ + capacity_);
    } else {
        CloseWindow();
    }
}

void GraphOChannel::Truncate(UInt32 size) noexcept
{
    CloseWindow();
    position_ = size;
    end_ = size;
    MoveTo(size);
}

void GraphOChannel::DropMarks() noexcept
{
    marks_.Clear();
    lostMarks_ = 0;
    offset_ = 0;
}

void GraphOChannel::Restart() noexcept
{
    DropMarks();
    status_ = NoError;
    Truncate(0);
}

void GraphOChannel::Patch(UInt32 position, UInt32 number)
{
    if (native_) {
        std::memcpy(block_ + position, &number, sizeof(number));
        return;
    }
    const UInt32 here = GetPosition();
    MoveTo(position);
    Write(number);
    MoveTo(here);
}

QVErrCode GraphOChannel::WriteBin(const char* src, UInt32 n, UInt32* written)
{
    if (status_ != NoError) {
        return status_;
    }
    const bool fits = Reserve(n);
    if (fits && n != 0) {
        const UInt32 position = GetPosition();
        std::memcpy(block_ + position, src, n);
        CloseWindow();
        position_ = position + n;
        MoveTo(position_);
    }
    if (written != nullptr) {
        *written = fits ? n : 0;
    }
    return status_;
}

bool GraphOChannel::Reserve(UInt32 n) noexcept
{
    const UInt32 position = GetPosition();
    const UInt64 needed = UInt64{position} + n;
    if (needed <= capacity_) {
        return true;
    }
    if (needed > maxCapacity) {
        Fail(ErrOutputFull);
        return false;
    }
    UInt64 capacity = std::max({needed, UInt64{capacity_} * 2, UInt64{firstCapacity}});
    capacity = std::min(capacity, UInt64{maxCapacity});
    void* const grown = MemoryManager::Reallocate(block_, capacity, MemoryManager::ReturnNullOnFailure, true);
    if (grown == nullptr) {
        Fail(ErrMemoryFull);
        return false;
    }
    end_ = GetSize();
    CloseWindow();
    position_ = position;
    block_ = static_cast<char*>(grown);
    capacity_ = static_cast<UInt32>(capacity);
    return true;
}

QVErrCode GraphOChannel::DirectOutputAccess(UInt32 n, char** data, UInt32* available)
{
    if (status_ == NoError && Reserve(n)) {
        *data = block_ + GetPosition();
        *available = n;
        MoveTo(GetPosition() + n);
        end_ = std::max(end_, position_);
    }
    return status_;
}

QVErrCode GraphOChannel::GetOutputPosition(UInt64* position) const
{
    *position = GetPosition();
    return NoError;
}

void GraphOChannel::SetDefaultOutputProtocol()
{
    SetOutputProtocol(ownProtocol_);
}

void GraphOChannel::SetOutputProtocol(OProtocol& protocol)
{
    OChannel::SetOutputProtocol(protocol);
    native_ = HasNativeProtocol(*this);
    MoveTo(GetPosition());
}

QVErrCode GraphOChannel::PushMark()
{
    try {
        marks_.Append(GetPosition());
    } catch (const OutOfMemoryException&) {
        ++lostMarks_;
        Fail(ErrMemoryFull);
    }
    return status_;
}

QVErrCode GraphOChannel::PopMark()
{
    offset_ = 0;
    if (lostMarks_ != 0) {
        --lostMarks_;
        return status_;
    }
    if (marks_.IsEmpty()) {
        return ErrGeneral;
    }
    const UInt32 mark = marks_.GetLast();
    marks_.RemoveLast();
    offset_ = GetPosition() - mark;
    MoveTo(mark);
    return status_;
}

void GraphOChannel::ResetOffset()
{
    MoveTo(GetSize());
}

void GraphOChannel::ResetOutputStatus()
{
    status_ = NoError;
    MoveTo(GetPosition());
}

QVErrCode GraphOChannel::Fail(QVErrCode error) noexcept
{
    status_ = error;
    MoveTo(GetPosition());
    return error;
}

} // namespace QV::Impl
