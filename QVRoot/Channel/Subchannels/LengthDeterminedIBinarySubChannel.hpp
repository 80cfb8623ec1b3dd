/// Reads a section that stands behind its length.
///
/// The length is only compared, never allocated: one that no input can have does no harm.
///
/// Threads: one at a time. Errors: those of `IBinarySubChannel`; the constructor throws `EndOfInputException`
/// where the length is cut off. Allocation: none.
#pragma once

#include <QVRoot/Channel/Subchannels/IBinarySubChannel.hpp>

namespace QV {

class QV_EXPORT LengthDeterminedIBinarySubChannel : public IBinarySubChannel {
public:
    /// Reads the length.
    LengthDeterminedIBinarySubChannel(BinaryChannelRef<IBinaryChannel> underlying,
                                      const IProtocolX& protocol);
    /// With the channel and the protocol of an extended channel.
    explicit LengthDeterminedIBinarySubChannel(const IChannelX& underlying);
    ~LengthDeterminedIBinarySubChannel() override;

    /// The length that the section claims.
    UInt64 GetLength() const noexcept { return length_; }
    /// The bytes read or passed over.
    UInt64 GetPosition() noexcept;

    /// The rest of the section, but no more than the channel below has.
    UInt64 GetAvailable() override;
    bool IsEOI() override;
    /// Passes over the rest of the section.
    void Close() override;

protected:
    UInt32 ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode) override;
    UInt64 SkipBytes(UInt64 n) override;
    void OnReturned(USize consumed) noexcept override;

private:
    UInt64 length_ = 0;
    UInt64 position_ = 0;
};

} // namespace QV
