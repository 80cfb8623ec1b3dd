/// A bounded section of a binary input channel: it ends where the writer's section ended.
///
///     ChunkedIBinarySubChannel section(file, platformIProtocolX);
///     Load(section);   // may read all of it, a part, or nothing
///     section.Close(); // the file stands behind the section
///
/// `Close` passes over what was not read: so readers step over what newer writers have added, or over a whole
/// section. It never closes the channel below. A section is a binary channel itself, so sections nest. It
/// buffers nothing: the channel below is always just behind the last byte read. Over
/// a memory or buffered channel, through any number of sections, small reads are served in place; over others
/// they want a `BufferedIBinaryChannel`.
///
/// Threads: one at a time. Errors: those of the channel below and of the protocol;
/// `UnexpectedEndOfInputDataIntegrityException` where the channel below ends inside the section.
/// Allocation: none.
#pragma once

#include <QVRoot/Channel/FilterIBinaryChannel.hpp>
#include <QVRoot/Channel/IChannelX.hpp>

namespace QV {

class QV_EXPORT IBinarySubChannel : public FilterIBinaryChannel {
public:
    ~IBinarySubChannel() override;

protected:
    /// The protocol reads the lengths and must outlive the section.
    IBinarySubChannel(BinaryChannelRef<IBinaryChannel> underlying, const IProtocolX& protocol);

    const IProtocolX& GetProtocol() const noexcept { return *protocol_; }

    /// Read from and pass over the channel below, for counts that the section still has and that are not 0;
    /// they throw where the channel below has nothing more.
    /// @{
    UInt32 ReadInside(char* dest, UInt32 n, ReadSomeModeSelector mode);
    UInt64 SkipInside(UInt64 n);
    /// @}

private:
    const IProtocolX* protocol_;
};

} // namespace QV
