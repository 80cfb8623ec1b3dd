/// Writes a section behind its length, a `UInt64`.
///
///     LengthDeterminedOBinarySubChannel section(file, platformOProtocolX);
///     Save(section);
///     section.Close();
///
/// The section waits in memory: nothing reaches the channel below before `Close`. The class for sections that
/// are small, or whose length a reader must know at once; for others there is `ChunkedOBinarySubChannel`.
///
/// Threads: one at a time. Errors: those of `OBinarySubChannel`, `OutOfMemoryException`. Allocation: a block
/// with the section.
#pragma once

#include <QVRoot/Channel/MemoryOBinaryChannel.hpp>
#include <QVRoot/Channel/Subchannels/OBinarySubChannel.hpp>

namespace QV {

class QV_EXPORT LengthDeterminedOBinarySubChannel : public OBinarySubChannel {
public:
    LengthDeterminedOBinarySubChannel(BinaryChannelRef<OBinaryChannel> underlying,
                                      const OProtocolX& protocol);
    /// With the channel and the protocol of an extended channel.
    explicit LengthDeterminedOBinarySubChannel(const OChannelX& underlying);
    ~LengthDeterminedOBinarySubChannel() override;

    /// Reaches the memory only.
    void Flush() override;
    /// Writes length and bytes. A second call does nothing.
    void Close() override;

protected:
    void WriteBytes(const char* data, UInt32 n) override;

private:
    void TakeIn() noexcept;

    MemoryOBinaryChannel buffer_;
    char* reserved_ = nullptr; ///< where the window into the buffer begins
};

} // namespace QV
