/// An extended output channel: a binary channel together with the protocol of its numbers.
///
///     const OChannelX out(file);
///     out.Write(UInt32{3});
///
/// It has no position or state of its own: any number of them may write to one channel.
///
/// Threads: one at a time. Errors: those of the channel and of the protocol; `PreconditionException` without
/// a channel. Allocation: none.
#pragma once

#include <QVRoot/Channel/OProtocolX.hpp>

namespace QV {

class Guid;

class QV_EXPORT OChannelX {
public:
    /// The protocol must outlive the extended channel.
    explicit OChannelX(BinaryChannelRef<OBinaryChannel> channel,
                       const OProtocolX& protocol = platformOProtocolX);
    ~OChannelX();

    OBinaryChannel& GetChannel() const noexcept { return *channel_; }
    const OProtocolX& GetProtocol() const noexcept { return *protocol_; }
    /// The channel as it was given: by reference or counted.
    const BinaryChannelRef<OBinaryChannel>& GetChannelRef() const noexcept { return channel_; }

    template <ScalarX T>
    void Write(T value) const
    {
        protocol_->Write(*channel_, value);
    }
    void Write(const Guid& value) const;
    void WriteBytes(const char* data, UInt32 n) const { channel_->Write(data, n); }

private:
    BinaryChannelRef<OBinaryChannel> channel_;
    const OProtocolX* protocol_;
};

} // namespace QV
