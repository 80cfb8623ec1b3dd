/// Reads ahead from the channel below, so that many small reads become few large ones.
///
///     ChunkedIBinarySubChannel section(file, platformIProtocolX);
///     BufferedIBinaryChannel in(section); // never reads beyond the section
///
/// `Close` closes the channel below, whose position is of no use while bytes are buffered.
///
/// Threads: one at a time. Errors: those of the channel below; `IllegalArgumentException` for a size of 0,
/// `ClosedChannelException` after `Close`. Allocation: the buffer.
#pragma once

#include <QVRoot/Channel/FilterIBinaryChannel.hpp>

namespace QV {

class QV_EXPORT BufferedIBinaryChannel : public FilterIBinaryChannel {
public:
    explicit BufferedIBinaryChannel(BinaryChannelRef<IBinaryChannel> underlying, UInt32 bufferSize = 4096);
    ~BufferedIBinaryChannel() override;

    /// What is buffered and what the channel below has.
    UInt64 GetAvailable() override;
    bool IsEOI() override;
    void Close() override;

protected:
    UInt32 ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode) override;
    UInt64 SkipBytes(UInt64 n) override;

private:
    void RequireOpen() const;
    UInt32 ReadPiece(char* dest, UInt32 n, ReadSomeModeSelector mode);

    UInt32 bufferSize_;
    char* buffer_;
    bool closed_ = false;
};

} // namespace QV
