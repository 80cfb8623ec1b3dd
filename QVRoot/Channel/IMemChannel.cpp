#include <QVRoot/Channel/IMemChannel.hpp>

#include <cstring>

namespace QV {

IMemChannel::IMemChannel(const void* data, int size)
    : IChannel(ownProtocol_), begin_(static_cast<const char*>(data)), current_(begin_),
      end_(begin_ + (size > 0 ? size : 0))
{
}

IMemChannel::IMemChannel(const IMemChannel& other) : IChannel(other)
{
    *this = other;
}

IMemChannel& IMemChannel::operator=(const IMemChannel& other)
{
    const char* const current = other.GetCurrent();
    IChannel::operator=(other);
    if (&other.GetInputProtocol() == &other.ownProtocol_) {
        SetInputProtocol(ownProtocol_);
    }
    begin_ = other.begin_;
    current_ = current;
    end_ = other.end_;
    status_ = other.status_;
    return *this;
}

IMemChannel::~IMemChannel() = default;

/// Takes back what a window has passed over, and closes it.
void IMemChannel::Settle() noexcept
{
    current_ = GetCurrent();
    CloseWindow();
}

QVErrCode IMemChannel::ReadBin(char* dest, UInt32 n, UInt32* got)
{
    Settle();
    if (status_ != NoError) {
        return status_;
    }
    const USize available = static_cast<USize>(end_ - current_);
    if (n > available) {
        n = static_cast<UInt32>(available);
        status_ = ErrEndOfInput;
    }
    if (n != 0) {
        std::memcpy(dest, current_, n);
        current_ += n;
    }
    if (got != nullptr) {
        *got = n;
    }
    return status_;
}

QVErrCode IMemChannel::CopyBin(char*, UInt32, UInt32*)
{
    return ErrGeneral;
}

QVErrCode IMemChannel::Look(UInt32, char*)
{
    return ErrGeneral;
}

QVErrCode IMemChannel::PushBack(const char*, UInt32)
{
    return ErrGeneral;
}

QVErrCode IMemChannel::Skip(UInt64 n, UInt64* skipped)
{
    Settle();
    if (status_ != NoError) {
        return status_;
    }
    const UInt64 available = static_cast<UInt64>(end_ - current_);
    if (n > available) {
        n = available;
        status_ = ErrEndOfInput;
    }
    current_ = end_;
    if (skipped != nullptr) {
        *skipped = n;
    }
    return status_;
}

QVErrCode IMemChannel::DirectInputAccess(UInt32, char**, UInt32*)
{
    return ErrGeneral;
}

QVErrCode IMemChannel::GetInputPosition(UInt64*) const
{
    return ErrGeneral;
}

QVErrCode IMemChannel::GetAvailable(UInt64* n) const
{
    *n = static_cast<UInt64>(end_ - GetCurrent());
    return NoError;
}

void IMemChannel::SetDefaultInputProtocol()
{
    SetInputProtocol(ownProtocol_);
}

QVErrCode IMemChannel::GetInputStatus() const
{
    return status_;
}

void IMemChannel::ResetInputStatus()
{
    status_ = NoError;
}

} // namespace QV
