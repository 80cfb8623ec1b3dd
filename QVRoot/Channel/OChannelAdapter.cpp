#include <QVRoot/Channel/ChannelFaultsImpl.hpp>
#include <QVRoot/Channel/OChannelAdapter.hpp>

#include <algorithm>
#include <utility>

namespace QV {

OChannelAdapter::OChannelAdapter(BinaryChannelRef<OBinaryChannel> channel) noexcept
    : OChannel(ownProtocol_), channel_(std::move(channel))
{
}

OChannelAdapter::~OChannelAdapter() = default;

QVErrCode OChannelAdapter::WriteBin(const char* src, UInt32 n, UInt32* written)
{
    if (status_ != NoError) {
        return status_;
    }
    if (n != 0) {
        status_ = Impl::CatchCode([&] {
            if (IsHolding()) {
                WriteHeld(src, n);
            } else {
                channel_->Write(src, n);
                handedOn_ += n;
            }
        });
    }
    if (written != nullptr) {
        *written = status_ == NoError ? n : 0;
    }
    return status_;
}

QVErrCode OChannelAdapter::DirectOutputAccess(UInt32, char**, UInt32*)
{
    return ErrGeneral;
}

QVErrCode OChannelAdapter::GetOutputPosition(UInt64* position) const
{
    *position = handedOn_ + position_;
    return NoError;
}

QVErrCode OChannelAdapter::Flush()
{
    if (status_ == NoError) {
        status_ = Impl::CatchCode([&] { channel_->Flush(); });
    }
    return status_;
}

void OChannelAdapter::SetDefaultOutputProtocol()
{
    SetOutputProtocol(ownProtocol_);
}

QVErrCode OChannelAdapter::PushMark()
{
    const QVErrCode error = Impl::CatchCode([&] { marks_.Append(position_); });
    if (error != NoError) {
        ++lostMarks_;
        status_ = error;
    }
    return status_;
}

QVErrCode OChannelAdapter::PopMark()
{
    offset_ = 0;
    if (lostMarks_ != 0) {
        --lostMarks_;
        return status_;
    }
    if (marks_.IsEmpty()) {
        return ErrGeneral;
    }
    const UInt64 distance = position_ - marks_.GetLast();
    position_ = marks_.GetLast();
    marks_.RemoveLast();
    if (distance > 0xFFFFFFFFu) {
        return status_ = ErrGeneral; // the length would not be the block's
    }
    offset_ = static_cast<UInt32>(distance);
    return status_;
}

UInt32 OChannelAdapter::GetOffset() const
{
    return offset_;
}

void OChannelAdapter::ResetOffset()
{
    position_ = held_.GetSize();
    if (marks_.IsEmpty()) {
        HandOnHeld();
    }
}

QVErrCode OChannelAdapter::GetOutputStatus() const
{
    return status_;
}

void OChannelAdapter::ResetOutputStatus()
{
    status_ = NoError;
}

void OChannelAdapter::WriteHeld(const char* src, UInt32 n)
{
    // A length goes over its placeholder, everything else to the end.
    const UInt32 over = static_cast<UInt32>(std::min<UInt64>(n, held_.GetSize() - position_));
    if (over < n) {
        held_.Write(src + over, n - over);
    }
    if (over != 0) {
        std::memcpy(held_.GetData() + position_, src, over);
    }
    position_ += n;
}

/// The outermost block is complete, or was given up after a failure.
void OChannelAdapter::HandOnHeld()
{
    const UInt64 size = held_.GetSize();
    for (UInt64 done = 0; done < size && status_ == NoError;) {
        constexpr UInt64 mostAtOnce = 0x40000000;
        const UInt32 piece = static_cast<UInt32>(std::min(size - done, mostAtOnce));
        status_ = Impl::CatchCode([&] { channel_->Write(held_.GetData() + done, piece); });
        handedOn_ += status_ == NoError ? piece : 0;
        done += piece;
    }
    held_.Clear();
    position_ = 0;
}

} // namespace QV
