/// Reads a section that was written in chunks.
///
/// One read never crosses the end of a chunk, so it may deliver less than was asked for although the section
/// goes on: `IBinaryChannelUtilities::ReadUpTo` reads on.
///
/// Threads: one at a time. Errors: those of `IBinarySubChannel`; `EndOfInputException` where a chunk's length
/// is cut off. Allocation: none.
#pragma once

#include <QVRoot/Channel/Subchannels/IBinarySubChannel.hpp>

namespace QV {

class QV_EXPORT ChunkedIBinarySubChannel : public IBinarySubChannel {
public:
    ChunkedIBinarySubChannel(BinaryChannelRef<IBinaryChannel> underlying, const IProtocolX& protocol);
    /// With the channel and the protocol of an extended channel.
    explicit ChunkedIBinarySubChannel(const IChannelX& underlying);
    ~ChunkedIBinarySubChannel() override;

    /// What is left of the current chunk. A chunk of 2 GiB or more counts as 0.
    UInt64 GetAvailable() override;
    bool IsEOI() override;
    /// Passes over the rest of the section.
    void Close() override;

protected:
    UInt32 ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode) override;
    UInt64 SkipBytes(UInt64 n) override;
    void OnReturned(USize consumed) noexcept override;

    /// Reads the next chunk's length. `PreconditionException` inside a chunk.
    void ReadHeader();

private:
    /// Goes to the next chunk where the current one is done; answers whether there is one.
    bool EnterChunk();

    /// The end has been read; it looks like the length of a chunk that no writer makes.
    static constexpr UInt32 Finished = 0xFFFFFFFF;

    /// Bytes left in the current chunk; 0: the next length has not been read.
    UInt32 remaining_ = 0;
};

} // namespace QV
