#include <QVRoot/Channel/IBinaryChannelUtilities.hpp>
#include <QVRoot/Channel/IChannelX.hpp>
#include <QVRoot/Channel/OChannelX.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <utility>

namespace QV {

namespace {

template <class Channel>
BinaryChannelRef<Channel> RequireChannel(BinaryChannelRef<Channel> channel)
{
    if (channel.Get() == nullptr) {
        QV_THROW(PreconditionException, "there is no channel");
    }
    return channel;
}

} // namespace

IChannelX::IChannelX(BinaryChannelRef<IBinaryChannel> channel, const IProtocolX& protocol)
    : channel_(RequireChannel(std::move(channel))), protocol_(&protocol)
{
}

IChannelX::~IChannelX() = default;

void IChannelX::Read(Guid& value) const
{
    value.Read(*this);
}

void IChannelX::ReadBytes(char* dest, UInt64 n) const
{
    IBinaryChannelUtilities::ReadExactly(*channel_, dest, n);
}

OChannelX::OChannelX(BinaryChannelRef<OBinaryChannel> channel, const OProtocolX& protocol)
    : channel_(RequireChannel(std::move(channel))), protocol_(&protocol)
{
}

OChannelX::~OChannelX() = default;

void OChannelX::Write(const Guid& value) const
{
    value.Write(*this);
}

} // namespace QV
