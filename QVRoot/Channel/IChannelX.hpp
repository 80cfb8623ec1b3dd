/// An extended input channel: a binary channel together with the protocol of its numbers.
///
///     const IChannelX in(file, GetIProtocolX(sign));
///     const UInt32 count = in.Read<UInt32>();
///
/// It has no position or state of its own: any number of them may read from one channel.
///
/// Threads: one at a time. Errors: those of the channel and of the protocol; `PreconditionException` without
/// a channel. Allocation: none.
#pragma once

#include <QVRoot/Channel/IProtocolX.hpp>

namespace QV {

class Guid;

class QV_EXPORT IChannelX {
public:
    /// The protocol must outlive the extended channel.
    explicit IChannelX(BinaryChannelRef<IBinaryChannel> channel,
                       const IProtocolX& protocol = platformIProtocolX);
    ~IChannelX();

    IBinaryChannel& GetChannel() const noexcept { return *channel_; }
    const IProtocolX& GetProtocol() const noexcept { return *protocol_; }
    /// The channel as it was given: by reference or counted.
    const BinaryChannelRef<IBinaryChannel>& GetChannelRef() const noexcept { return channel_; }

    /// A value that cannot be read stays as it was.
    template <ScalarX T>
    void Read(T& value) const
    {
        protocol_->Read(*channel_, value);
    }
    template <ScalarX T>
    T Read() const
    {
        T value;
        protocol_->Read(*channel_, value);
        return value;
    }
    void Read(Guid& value) const;
    /// Reads exactly n bytes, or throws `EndOfInputException`.
    void ReadBytes(char* dest, UInt64 n) const;

private:
    BinaryChannelRef<IBinaryChannel> channel_;
    const IProtocolX* protocol_;
};

} // namespace QV
