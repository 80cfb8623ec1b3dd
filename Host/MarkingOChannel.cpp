#include <Host/MarkingOChannel.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>

#include <algorithm>

namespace QV::Host {

QVErrCode MarkingOChannel::GetOutputPosition(UInt64* position) const
{
    *position = position_;
    return NoError;
}

void MarkingOChannel::SetDefaultOutputProtocol()
{
    SetOutputProtocol(ownProtocol_);
}

QVErrCode MarkingOChannel::PushMark()
{
    try {
        marks_.Append(position_);
    } catch (const OutOfMemoryException&) {
        ++lostMarks_;
        Keep(ErrMemoryFull);
    }
    return status_;
}

QVErrCode MarkingOChannel::PopMark()
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
        return Keep(ErrGeneral); // the length would not be the block's
    }
    offset_ = static_cast<UInt32>(distance);
    return status_;
}

UInt32 MarkingOChannel::GetOffset() const
{
    return offset_;
}

void MarkingOChannel::ResetOffset()
{
    position_ = end_;
}

QVErrCode MarkingOChannel::GetOutputStatus() const
{
    return status_;
}

void MarkingOChannel::ResetOutputStatus()
{
    status_ = NoError;
}

QVErrCode MarkingOChannel::Keep(QVErrCode error) noexcept
{
    if (error != NoError) {
        status_ = error;
    }
    return status_;
}

void MarkingOChannel::Advance(UInt32 n) noexcept
{
    position_ += n;
    end_ = std::max(end_, position_);
}

void MarkingOChannel::Restart() noexcept
{
    position_ = 0;
    end_ = 0;
    marks_.Clear();
    lostMarks_ = 0;
    offset_ = 0;
    status_ = NoError;
}

} // namespace QV::Host
