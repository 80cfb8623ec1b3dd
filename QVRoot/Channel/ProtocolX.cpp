#include <QVRoot/Channel/IProtocolX.hpp>
#include <QVRoot/Channel/OProtocolX.hpp>

namespace QV {

static_assert(std::endian::native == std::endian::little, "the platform's order is the one of the images");

constinit const PlatformIProtocolX platformIProtocolX;
constinit const SwappingIProtocolX swappingIProtocolX;
constinit const NetworkByteOrderIProtocolX networkByteOrderIProtocolX;
constinit const PlatformOProtocolX platformOProtocolX;
constinit const SwappingOProtocolX swappingOProtocolX;
constinit const NetworkByteOrderOProtocolX networkByteOrderOProtocolX;

const IProtocolX& GetIProtocolX(PlatformSign writer) noexcept
{
    if (NeedByteSwap(writer)) {
        return swappingIProtocolX;
    }
    return platformIProtocolX;
}

const OProtocolX& GetOProtocolX(PlatformSign reader) noexcept
{
    if (NeedByteSwap(reader)) {
        return swappingOProtocolX;
    }
    return platformOProtocolX;
}

} // namespace QV
