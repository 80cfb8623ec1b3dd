/// The marks of an output channel that can go back to what it has written, and its status. Where the bytes
/// go, the derived class says.
///
/// `PushMark` remembers the position. `PopMark` returns to the last mark and keeps the distance as the
/// offset; `ResetOffset` goes back to the end. So a block's length lands in its placeholder, and blocks nest.
/// Marks are kept in the error state as well, so that they stay paired.
///
/// Threads: one at a time. Errors: a block of 4 GiB or more puts the channel into the error state with
/// `ErrGeneral`, marks beyond the memory with `ErrMemoryFull`. Allocation: the marks, 8 bytes each.
#pragma once

#include <QVRoot/Channel/MemProtocol.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Containers/Array.hpp>

namespace QV::Host {

class MarkingOChannel : public OChannel {
public:
    MarkingOChannel(const MarkingOChannel&) = delete;
    MarkingOChannel& operator=(const MarkingOChannel&) = delete;

    /// Where the next byte goes.
    QVErrCode GetOutputPosition(UInt64* position) const override;
    void SetDefaultOutputProtocol() override;
    QVErrCode PushMark() override;
    /// `ErrGeneral` without a mark.
    QVErrCode PopMark() override;
    UInt32 GetOffset() const override;
    void ResetOffset() override;
    QVErrCode GetOutputStatus() const override;
    void ResetOutputStatus() override;

protected:
    MarkingOChannel() noexcept : OChannel(ownProtocol_) {}

    /// Sets the error state and answers it; 0 leaves the channel as it is.
    QVErrCode Keep(QVErrCode error) noexcept;
    /// Counts n bytes as written at the position.
    void Advance(UInt32 n) noexcept;
    /// Position 0, no marks, sound.
    void Restart() noexcept;
    UInt64 GetPosition() const noexcept { return position_; }
    /// The number of bytes up to the end.
    UInt64 GetEnd() const noexcept { return end_; }

private:
    OMemProtocol ownProtocol_;
    UInt64 position_ = 0;
    UInt64 end_ = 0;
    Array<UInt64> marks_;
    UInt32 lostMarks_ = 0; ///< pushed without memory for them, after all those in the array
    UInt32 offset_ = 0;
    QVErrCode status_ = NoError;
};

} // namespace QV::Host
