#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/ObjectModel/GraphIChannelImpl.hpp>

#include <cstring>

namespace QV::Impl {

GraphIChannel::~GraphIChannel() = default;

void GraphIChannel::Restart(const char* begin, const char* end) noexcept
{
    begin_ = begin;
    end_ = end;
    status_ = NoError;
    MoveTo(begin);
}

const char* GraphIChannel::GetNext() const noexcept
{
    return GetWindowNext() == nullptr ? next_ : GetWindowNext();
}

void GraphIChannel::MoveTo(const char* next) noexcept
{
    next_ = next;
    if (status_ == NoError && native_) {
        OpenWindow(next, end_);
    } else {
        CloseWindow();
    }
}

QVErrCode GraphIChannel::ReadBin(char* dest, UInt32 n, UInt32* got)
{
    if (status_ != NoError) {
        return status_;
    }
    if (n > GetRest()) {
        n = static_cast<UInt32>(GetRest());
        status_ = ErrEndOfInput;
    }
    if (n != 0) {
        std::memcpy(dest, GetNext(), n);
    }
    MoveTo(GetNext() + n);
    if (got != nullptr) {
        *got = n;
    }
    return status_;
}

QVErrCode GraphIChannel::CopyBin(char* dest, UInt32 n, UInt32* got)
{
    if (status_ != NoError) {
        return status_;
    }
    const UInt32 count = n > GetRest() ? static_cast<UInt32>(GetRest()) : n;
    if (count != 0) {
        std::memcpy(dest, GetNext(), count);
    }
    if (got != nullptr) {
        *got = count;
    }
    return count == n ? NoError : ErrEndOfInput;
}

QVErrCode GraphIChannel::Look(UInt32 index, char* c)
{
    if (status_ != NoError) {
        return status_;
    }
    if (index >= GetRest()) {
        return ErrEndOfInput;
    }
    *c = GetNext()[index];
    return NoError;
}

QVErrCode GraphIChannel::PushBack(const char* bytes, UInt32 n)
{
    if (status_ != NoError) {
        return status_;
    }
    const char* const next = GetNext();
    if (n > static_cast<USize>(next - begin_) || (n != 0 && std::memcmp(next - n, bytes, n) != 0)) {
        return ErrParam;
    }
    MoveTo(next - n);
    return NoError;
}

QVErrCode GraphIChannel::Skip(UInt64 n, UInt64* skipped)
{
    if (status_ != NoError) {
        return status_;
    }
    if (n > GetRest()) {
        n = GetRest();
        status_ = ErrEndOfInput;
    }
    MoveTo(GetNext() + n);
    if (skipped != nullptr) {
        *skipped = n;
    }
    return status_;
}

QVErrCode GraphIChannel::DirectInputAccess(UInt32, char**, UInt32*)
{
    return ErrGeneral; // the bytes may be the caller's, and are not to be changed
}

QVErrCode GraphIChannel::GetInputPosition(UInt64* position) const
{
    *position = static_cast<UInt64>(GetNext() - begin_);
    return NoError;
}

QVErrCode GraphIChannel::GetAvailable(UInt64* n) const
{
    *n = GetRest();
    return NoError;
}

void GraphIChannel::SetDefaultInputProtocol()
{
    SetInputProtocol(ownProtocol_);
}

void GraphIChannel::SetInputProtocol(IProtocol& protocol)
{
    const char* const next = GetNext();
    IChannel::SetInputProtocol(protocol);
    native_ = HasNativeProtocol(*this);
    MoveTo(next);
}

void GraphIChannel::ResetInputStatus()
{
    const char* const next = GetNext();
    status_ = NoError;
    MoveTo(next);
}

} // namespace QV::Impl
