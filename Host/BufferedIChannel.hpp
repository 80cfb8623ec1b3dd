/// An input channel over any source of bytes, with all of the channel's operations. What the source is, the
/// derived class says.
///
/// | operation           | at the end of the input                                                |
/// |---------------------|------------------------------------------------------------------------|
/// | `ReadBin`, `Skip`   | what is left; `ErrEndOfInput` when it is less than asked for           |
/// | `CopyBin`, `Look`   | `ErrEndOfInput`, which is not kept: nothing was consumed               |
/// | `DirectInputAccess` | a shorter window; `ErrEndOfInput` when nothing is left                 |
///
/// A failing `ReadBin`, `Skip` or `DirectInputAccess` puts the channel into the error state, in which every
/// operation answers the stored code and does nothing until `ResetInputStatus`.
///
/// Threads: one at a time. Errors: codes only; `ErrMemoryFull` when the buffer cannot grow. Allocation: one
/// buffer of 64 KiB, on first need. Looking far ahead makes it grow, but never to more than twice what the
/// input holds.
#pragma once

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/MemProtocol.hpp>

namespace QV::Host {

class BufferedIChannel : public IChannel {
public:
    ~BufferedIChannel() override;
    BufferedIChannel(const BufferedIChannel&) = delete;
    BufferedIChannel& operator=(const BufferedIChannel&) = delete;

    using IChannel::GetAvailable;
    using IChannel::PushBack;

    QVErrCode ReadBin(char* dest, UInt32 n, UInt32* got) override;
    /// Both up to 1 GiB ahead; farther answers `ErrParam`.
    QVErrCode CopyBin(char* dest, UInt32 n, UInt32* got) override;
    QVErrCode Look(UInt32 index, char* c) override;
    /// The bytes may differ from those that were read, but not be more than were consumed (`ErrParam`).
    QVErrCode PushBack(const char* bytes, UInt32 n) override;
    QVErrCode Skip(UInt64 n, UInt64* skipped) override;
    /// The window counts as consumed. It is valid until the next operation.
    QVErrCode DirectInputAccess(UInt32 n, char** data, UInt32* available) override;
    QVErrCode GetInputPosition(UInt64* position) const override;
    /// `ErrGeneral` for a source without a known length, such as a pipe.
    QVErrCode GetAvailable(UInt64* n) const override;
    void SetDefaultInputProtocol() override;
    QVErrCode GetInputStatus() const override;
    void ResetInputStatus() override;

protected:
    BufferedIChannel() noexcept : IChannel(ownProtocol_) {}

    /// Reads between 1 and n bytes; success with 0 bytes is the end.
    virtual QVErrCode ReadSource(char* dest, UInt32 n, UInt32* got) = 0;
    /// Passes over up to n bytes; fewer is the end. `ErrGeneral`: the source must be read instead.
    virtual QVErrCode SkipSource(UInt64 n, UInt64* skipped) = 0;
    /// Bytes that the source still has; `ErrGeneral` when it cannot tell.
    virtual QVErrCode GetSourceAvailable(UInt64* n) const = 0;

    /// Forgets what is buffered; position 0, sound.
    void Restart() noexcept;

private:
    UInt32 GetBuffered() const noexcept { return end_ - begin_; }
    void Consume(UInt32 n) noexcept;
    QVErrCode Fill(UInt32 wanted);
    QVErrCode MakeRoom(UInt32 wanted);
    QVErrCode Resize(UInt32 capacity, UInt32 newBegin);
    QVErrCode ReadPast(char* dest, UInt32 n, UInt32* got);
    QVErrCode SkipByReading(UInt64 n, UInt64* skipped);

    IMemProtocol ownProtocol_;
    char* buffer_ = nullptr;
    UInt32 capacity_ = 0;
    UInt32 begin_ = 0; ///< what was read from the source and not consumed yet: [begin_, end_)
    UInt32 end_ = 0;
    UInt64 position_ = 0;
    QVErrCode status_ = NoError;
};

} // namespace QV::Host
