/// An `OChannel` over a binary output channel: typed values, strings and objects into a section.
///
///     ChunkedOBinarySubChannel section(bytes, platformOProtocolX, 4096);
///     OChannelAdapter out(section);
///     out.Write(wall);
///     section.Close();
///
/// It supports marks, although a binary channel never goes back: from the first mark until the block is
/// complete, the bytes are held here. So blocks and frames of every version can be written.
///
/// Threads: one at a time. Errors: codes only, those of the exceptions thrown below; every failure is sticky.
/// A block of 4 GiB or more is `ErrGeneral`. Allocation: the bytes of open blocks, and 8 bytes a mark.
#pragma once

#include <QVRoot/Channel/MemProtocol.hpp>
#include <QVRoot/Channel/MemoryOBinaryChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Containers/Array.hpp>

namespace QV {

class QV_EXPORT OChannelAdapter : public OChannel {
public:
    explicit OChannelAdapter(BinaryChannelRef<OBinaryChannel> channel) noexcept;
    OChannelAdapter(const OChannelAdapter&) = delete;
    OChannelAdapter& operator=(const OChannelAdapter&) = delete;
    ~OChannelAdapter() override;

    QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override;
    QVErrCode DirectOutputAccess(UInt32 n, char** data, UInt32* available) override;
    /// Counted from the adapter's beginning.
    QVErrCode GetOutputPosition(UInt64* position) const override;
    /// Flushes the binary channel; bytes of open blocks stay here.
    QVErrCode Flush() override;
    void SetDefaultOutputProtocol() override;
    QVErrCode PushMark() override;
    /// `ErrGeneral` without a mark.
    QVErrCode PopMark() override;
    UInt32 GetOffset() const override;
    void ResetOffset() override;
    QVErrCode GetOutputStatus() const override;
    void ResetOutputStatus() override;

private:
    bool IsHolding() const noexcept { return !marks_.IsEmpty() || held_.GetSize() != 0; }
    void WriteHeld(const char* src, UInt32 n);
    void HandOnHeld();

    BinaryChannelRef<OBinaryChannel> channel_;
    OMemProtocol ownProtocol_;
    UInt64 handedOn_ = 0;
    MemoryOBinaryChannel held_;
    UInt64 position_ = 0; ///< where the next byte goes among those held
    Array<UInt64> marks_;
    UInt32 lostMarks_ = 0; ///< pushed without memory for them, after all those in the array
    UInt32 offset_ = 0;
    QVErrCode status_ = NoError;
};

} // namespace QV
