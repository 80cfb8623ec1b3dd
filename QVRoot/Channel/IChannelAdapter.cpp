#include <QVRoot/Channel/ChannelFaultsImpl.hpp>
#include <QVRoot/Channel/IChannelAdapter.hpp>

#include <algorithm>
#include <utility>

namespace QV {

namespace {

constexpr UInt32 mostAhead = 0x40000000;

} // namespace

IChannelAdapter::IChannelAdapter(BinaryChannelRef<IBinaryChannel> channel) noexcept
    : IChannel(ownProtocol_), channel_(std::move(channel))
{
}

IChannelAdapter::~IChannelAdapter()
{
    MemoryManager::Free(held_);
}

QVErrCode IChannelAdapter::ReadBin(char* dest, UInt32 n, UInt32* got)
{
    if (status_ != NoError) {
        return status_;
    }
    UInt32 total = TakeHeld(dest, n);
    while (total < n && status_ == NoError) {
        UInt32 count = 0;
        status_ = Impl::CatchCode([&] { count = channel_->Read(dest + total, n - total, ReadAll); });
        if (status_ == NoError && count == 0) {
            status_ = ErrEndOfInput;
        }
        total += count;
    }
    position_ += total;
    if (got != nullptr) {
        *got = total;
    }
    return status_;
}

QVErrCode IChannelAdapter::CopyBin(char* dest, UInt32 n, UInt32* got)
{
    if (status_ != NoError) {
        return status_;
    }
    if (n > mostAhead) {
        return ErrParam;
    }
    const QVErrCode error = Hold(n);
    const UInt32 count = std::min(n, GetHeld());
    if (count != 0) {
        std::memcpy(dest, held_ + heldBegin_, count);
    }
    if (got != nullptr) {
        *got = count;
    }
    return error;
}

QVErrCode IChannelAdapter::Look(UInt32 index, char* c)
{
    if (status_ != NoError) {
        return status_;
    }
    if (index >= mostAhead) {
        return ErrParam;
    }
    const QVErrCode error = Hold(index + 1);
    if (error == NoError) {
        *c = held_[heldBegin_ + index];
    }
    return error;
}

QVErrCode IChannelAdapter::PushBack(const char* bytes, UInt32 n)
{
    if (status_ != NoError) {
        return status_;
    }
    if (n > position_ || UInt64{n} + GetHeld() > mostAhead) {
        return ErrParam;
    }
    if (n == 0) {
        return NoError;
    }
    if (const QVErrCode error = Impl::CatchCode([&] { MakeRoom(n, 0); })) {
        return error;
    }
    heldBegin_ -= n;
    position_ -= n;
    std::memcpy(held_ + heldBegin_, bytes, n);
    return NoError;
}

QVErrCode IChannelAdapter::Skip(UInt64 n, UInt64* skipped)
{
    if (status_ != NoError) {
        return status_;
    }
    UInt64 passed = std::min<UInt64>(n, GetHeld());
    heldBegin_ += static_cast<UInt32>(passed);
    while (passed < n && status_ == NoError) {
        UInt64 step = 0;
        status_ = Impl::CatchCode([&] { step = channel_->SkipSome(n - passed); });
        if (status_ == NoError && step == 0) {
            status_ = ErrEndOfInput;
        }
        passed += step;
    }
    position_ += passed;
    if (skipped != nullptr) {
        *skipped = passed;
    }
    return status_;
}

QVErrCode IChannelAdapter::DirectInputAccess(UInt32, char**, UInt32*)
{
    return ErrGeneral;
}

QVErrCode IChannelAdapter::GetInputPosition(UInt64* position) const
{
    *position = position_;
    return NoError;
}

QVErrCode IChannelAdapter::GetAvailable(UInt64* n) const
{
    return Impl::CatchCode([&] { *n = GetHeld() + channel_->GetAvailable(); });
}

bool IChannelAdapter::IsEOI()
{
    if (status_ != NoError || GetHeld() != 0) {
        return status_ == ErrEndOfInput;
    }
    bool atEnd = false;
    status_ = Impl::CatchCode([&] { atEnd = channel_->IsEOI(); });
    return atEnd;
}

void IChannelAdapter::SetDefaultInputProtocol()
{
    SetInputProtocol(ownProtocol_);
}

QVErrCode IChannelAdapter::GetInputStatus() const
{
    return status_;
}

void IChannelAdapter::ResetInputStatus()
{
    status_ = NoError;
}

UInt32 IChannelAdapter::TakeHeld(char* dest, UInt32 n) noexcept
{
    const UInt32 count = std::min(n, GetHeld());
    if (count != 0) {
        std::memcpy(dest, held_ + heldBegin_, count);
        heldBegin_ += count;
    }
    return count;
}

/// Holds at least `count` bytes, or all that there are and `ErrEndOfInput`, which is not kept.
QVErrCode IChannelAdapter::Hold(UInt32 count)
{
    while (GetHeld() < count) {
        constexpr UInt32 mostAtOnce = 65536; // memory grows with the bytes that arrive
        const UInt32 wanted = std::min(count - GetHeld(), mostAtOnce);
        UInt32 got = 0;
        const QVErrCode error = Impl::CatchCode([&] {
            MakeRoom(0, wanted);
            got = channel_->Read(held_ + heldEnd_, wanted, ReadAll);
        });
        if (error != NoError) {
            return status_ = error;
        }
        if (got == 0) {
            return ErrEndOfInput;
        }
        heldEnd_ += got;
    }
    return NoError;
}

/// Makes room for so many bytes before or behind those held. What is allocated beyond goes to the same side.
void IChannelAdapter::MakeRoom(UInt32 front, UInt32 back)
{
    if (front <= heldBegin_ && back <= heldCapacity_ - heldEnd_) {
        return;
    }
    const UInt32 held = GetHeld();
    const UInt32 capacity = 2 * (front + held + back) + 64;
    const UInt32 begin = front != 0 ? capacity - held : 0;
    auto* const grown =
        static_cast<char*>(MemoryManager::Allocate(capacity, MemoryManager::ThrowOnFailure, true));
    if (held != 0) {
        std::memcpy(grown + begin, held_ + heldBegin_, held);
    }
    MemoryManager::Free(held_);
    held_ = grown;
    heldCapacity_ = capacity;
    heldBegin_ = begin;
    heldEnd_ = begin + held;
}

} // namespace QV
