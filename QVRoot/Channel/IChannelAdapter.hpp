/// An `IChannel` over a binary input channel: typed values, strings and objects from a section.
///
///     ChunkedIBinarySubChannel section(bytes, platformIProtocolX);
///     IChannelAdapter in(section);
///     in.Read(wall);
///     section.Close();
///
/// It has positions, counted from its beginning, and all other operations but direct access. Bytes that were
/// looked at ahead, or pushed back, are held here: the binary channel is behind them then.
///
/// Threads: one at a time. Errors: codes only, those of the exceptions thrown below. `ErrEndOfInput` and
/// every failure are sticky, except where `CopyBin` or `Look` meet the end: they consume nothing. Allocation:
/// what was looked at ahead or pushed back.
#pragma once

#include <QVRoot/Channel/IBinaryChannel.hpp>
#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/MemProtocol.hpp>

namespace QV {

class QV_EXPORT IChannelAdapter : public IChannel {
public:
    explicit IChannelAdapter(BinaryChannelRef<IBinaryChannel> channel) noexcept;
    IChannelAdapter(const IChannelAdapter&) = delete;
    IChannelAdapter& operator=(const IChannelAdapter&) = delete;
    ~IChannelAdapter() override;

    using IChannel::GetAvailable;
    using IChannel::PushBack;

    /// Delivers n bytes, or what there is and `ErrEndOfInput`.
    QVErrCode ReadBin(char* dest, UInt32 n, UInt32* got) override;
    /// Both up to 1 GiB ahead; farther answers `ErrParam`.
    QVErrCode CopyBin(char* dest, UInt32 n, UInt32* got) override;
    QVErrCode Look(UInt32 index, char* c) override;
    /// No more bytes than were consumed (`ErrParam`).
    QVErrCode PushBack(const char* bytes, UInt32 n) override;
    QVErrCode Skip(UInt64 n, UInt64* skipped) override;
    QVErrCode DirectInputAccess(UInt32 n, char** data, UInt32* available) override;
    QVErrCode GetInputPosition(UInt64* position) const override;
    QVErrCode GetAvailable(UInt64* n) const override;
    bool IsEOI() override;
    void SetDefaultInputProtocol() override;
    QVErrCode GetInputStatus() const override;
    void ResetInputStatus() override;

private:
    UInt32 GetHeld() const noexcept { return heldEnd_ - heldBegin_; }
    UInt32 TakeHeld(char* dest, UInt32 n) noexcept;
    QVErrCode Hold(UInt32 count);
    void MakeRoom(UInt32 front, UInt32 back);

    BinaryChannelRef<IBinaryChannel> channel_;
    IMemProtocol ownProtocol_;
    /// What the binary channel has delivered and nobody has consumed: [heldBegin_, heldEnd_).
    char* held_ = nullptr;
    UInt32 heldCapacity_ = 0;
    UInt32 heldBegin_ = 0;
    UInt32 heldEnd_ = 0;
    UInt64 position_ = 0;
    QVErrCode status_ = NoError;
};

} // namespace QV
