#include <QVRoot/Channel/Subchannels/OBinarySubChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

#include <utility>

namespace QV {

OBinarySubChannel::OBinarySubChannel(BinaryChannelRef<OBinaryChannel> underlying, const OProtocolX& protocol)
    : FilterOBinaryChannel(std::move(underlying)), protocol_(&protocol)
{
}

OBinarySubChannel::~OBinarySubChannel() = default;

void OBinarySubChannel::RequireOpen() const
{
    if (closed_) {
        QV_THROW(PreconditionException, "the section is closed");
    }
}

} // namespace QV
