/// A bounded section of a binary output channel, written without knowing its length in advance.
///
/// | framing           | class                                | holds in memory |
/// |-------------------|--------------------------------------|-----------------|
/// | chunked           | `ChunkedOBinarySubChannel`           | one chunk       |
/// | length-determined | `LengthDeterminedOBinarySubChannel`  | the section     |
///
/// A section is a binary channel itself, so sections nest. It must be closed before the channel below is used
/// again: only `Close` ends the section there. It never closes the channel below. A section that was left by
/// an exception is not to be closed: what follows it could not be read.
///
/// Threads: one at a time. Errors: `PreconditionException` for use after `Close`; those of the channel below
/// and of the protocol.
#pragma once

#include <QVRoot/Channel/FilterOBinaryChannel.hpp>
#include <QVRoot/Channel/OChannelX.hpp>

namespace QV {

class QV_EXPORT OBinarySubChannel : public FilterOBinaryChannel {
public:
    ~OBinarySubChannel() override;

protected:
    /// The protocol writes the lengths and must outlive the section.
    OBinarySubChannel(BinaryChannelRef<OBinaryChannel> underlying, const OProtocolX& protocol);

    const OProtocolX& GetProtocol() const noexcept { return *protocol_; }
    bool IsClosed() const noexcept { return closed_; }
    void SetClosed() noexcept { closed_ = true; }
    /// `PreconditionException` for a closed section.
    void RequireOpen() const;

private:
    const OProtocolX* protocol_;
    bool closed_ = false;
};

} // namespace QV
