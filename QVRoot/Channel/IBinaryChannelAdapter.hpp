/// A binary input channel over an `IChannel`: sections can be read from whatever channel carries them.
///
///     IBinaryChannelAdapter bytes(channel);
///     ChunkedIBinarySubChannel section(bytes, platformIProtocolX);
///
/// Nothing is buffered: the channel is always just behind the last byte read.
///
/// Threads: one at a time. Errors: `ErrEndOfInput` is the end; other codes throw `ReadErrorException` with
/// the code as the cause's, or the exception that has the code; `ClosedChannelException` after `Close`.
/// Allocation: none.
#pragma once

#include <QVRoot/Channel/IBinaryChannel.hpp>

namespace QV {

class IChannel;

class QV_EXPORT IBinaryChannelAdapter : public IBinaryChannel {
public:
    /// The channel must outlive the adapter.
    explicit IBinaryChannelAdapter(IChannel& channel) noexcept;
    ~IBinaryChannelAdapter() override;

    /// 0 where the channel cannot tell.
    UInt64 GetAvailable() override;
    /// A channel that cannot look ahead is at its end when a read has told so or nothing is available.
    bool IsEOI() override;
    /// Ends the use of the adapter. The channel stays as it is.
    void Close() override;

protected:
    UInt32 ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode) override;

private:
    IChannel& channel_;
    bool closed_ = false;
};

} // namespace QV
