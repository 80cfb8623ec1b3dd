/// Writes a section in chunks: each is its length as `UInt32` and so many bytes; a length of 0 ends it.
///
///     ChunkedOBinarySubChannel section(file, platformOProtocolX, 4096);
///     Save(section);
///     section.Close();
///
/// It needs no more memory than one chunk, however long the section gets.
///
/// Threads: one at a time. Errors: those of `OBinarySubChannel`; `IllegalArgumentException` for a chunk size
/// of 0 or 0xFFFFFFFF. Allocation: the chunk.
#pragma once

#include <QVRoot/Channel/Subchannels/OBinarySubChannel.hpp>

namespace QV {

class QV_EXPORT ChunkedOBinarySubChannel : public OBinarySubChannel {
public:
    ChunkedOBinarySubChannel(BinaryChannelRef<OBinaryChannel> underlying, const OProtocolX& protocol,
                             UInt32 chunkSize);
    /// With the channel and the protocol of an extended channel.
    ChunkedOBinarySubChannel(const OChannelX& underlying, UInt32 chunkSize);
    ~ChunkedOBinarySubChannel() override;

    /// Writes the bytes that wait as a chunk, even a short one, and flushes the channel below.
    void Flush() override;
    /// Writes the bytes that wait and the end. Once only: a second call writes a second end.
    void Close() override;

protected:
    /// A full chunk is written when more bytes come, not before.
    void WriteBytes(const char* data, UInt32 n) override;

private:
    void EmitChunk(const char* data, UInt32 n);
    void EmitPending();

    UInt32 chunkSize_;
    char* chunk_;
};

} // namespace QV
