/// The extended output protocols: numbers of a fixed width and byte order onto a binary channel.
///
///     networkByteOrderOProtocolX.Write(channel, UInt32{3});
///
/// They are those of `IProtocolX.hpp` in the other direction.
///
/// Threads: no state, so any. Errors: those of the channel. Allocation: none.
#pragma once

#include <QVRoot/Channel/OBinaryChannel.hpp>
#include <QVRoot/Channel/PlatformSign.hpp>
#include <QVRoot/Channel/ScalarX.hpp>

namespace QV {

class OProtocolX {
public:
    template <ScalarX T>
    void Write(OBinaryChannel& channel, T value) const
    {
        const auto word = Impl::ToWord(value);
        const auto image = swaps_ ? Impl::ReverseBytes(word) : word;
        channel.Write(reinterpret_cast<const char*>(&image), sizeof(T));
    }

protected:
    constexpr explicit OProtocolX(bool swaps) noexcept : swaps_(swaps) {}

private:
    bool swaps_;
};

/// Little-endian, as the running platform is.
class PlatformOProtocolX : public OProtocolX {
public:
    constexpr PlatformOProtocolX() noexcept : OProtocolX(false) {}
};

/// The order that the running platform has not.
class SwappingOProtocolX : public OProtocolX {
public:
    constexpr SwappingOProtocolX() noexcept : OProtocolX(true) {}
};

/// Big-endian: the running platform is not, whatever the target.
class NetworkByteOrderOProtocolX : public SwappingOProtocolX {
public:
    constexpr NetworkByteOrderOProtocolX() noexcept = default;
};

/// Shared instances.
/// @{
QV_EXPORT extern const PlatformOProtocolX platformOProtocolX;
QV_EXPORT extern const SwappingOProtocolX swappingOProtocolX;
QV_EXPORT extern const NetworkByteOrderOProtocolX networkByteOrderOProtocolX;
/// @}

/// The protocol for data that are to be read on the platform with this sign.
QV_EXPORT const OProtocolX& GetOProtocolX(PlatformSign reader) noexcept;

} // namespace QV
