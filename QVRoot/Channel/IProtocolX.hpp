/// The extended input protocols: numbers of a fixed width and byte order from a binary channel.
///
///     UInt32 count;
///     platformIProtocolX.Read(channel, count);
///
/// | protocol                     | byte order                                   |
/// |------------------------------|----------------------------------------------|
/// | `PlatformIProtocolX`         | the running platform's: little-endian        |
/// | `SwappingIProtocolX`         | the other one, for data that come from there |
/// | `NetworkByteOrderIProtocolX` | big-endian                                   |
///
/// A protocol is nothing but its byte order. Floating-point numbers are moved by their IEEE 754 bits, a bool
/// as a byte, of which any but 0 is true. Only the types of `ScalarX` are taken, and none becomes another:
/// what is written is what is read.
///
/// Threads: no state, so any. Errors: `EndOfInputException` where the input ends before the value does, else
/// those of the channel; the value stays as it was. Allocation: none.
#pragma once

#include <QVRoot/Channel/IBinaryChannelUtilities.hpp>
#include <QVRoot/Channel/PlatformSign.hpp>
#include <QVRoot/Channel/ScalarX.hpp>

namespace QV {

class IProtocolX {
public:
    template <ScalarX T>
    void Read(IBinaryChannel& channel, T& value) const
    {
        Impl::WordOf<T> word;
        char* const image = reinterpret_cast<char*>(&word);
        if (const UInt32 got = channel.Read(image, sizeof(T)); got != sizeof(T)) [[unlikely]] {
            IBinaryChannelUtilities::ReadExactly(channel, image + got, sizeof(T) - got);
        }
        value = Impl::FromWord<T>(swaps_ ? Impl::ReverseBytes(word) : word);
    }

protected:
    constexpr explicit IProtocolX(bool swaps) noexcept : swaps_(swaps) {}

private:
    bool swaps_;
};

/// Little-endian, as the running platform is.
class PlatformIProtocolX : public IProtocolX {
public:
    constexpr PlatformIProtocolX() noexcept : IProtocolX(false) {}
};

/// The order that the running platform has not.
class SwappingIProtocolX : public IProtocolX {
public:
    constexpr SwappingIProtocolX() noexcept : IProtocolX(true) {}
};

/// Big-endian: the running platform is not, whatever the target.
class NetworkByteOrderIProtocolX : public SwappingIProtocolX {
public:
    constexpr NetworkByteOrderIProtocolX() noexcept = default;
};

/// Shared instances.
/// @{
QV_EXPORT extern const PlatformIProtocolX platformIProtocolX;
QV_EXPORT extern const SwappingIProtocolX swappingIProtocolX;
QV_EXPORT extern const NetworkByteOrderIProtocolX networkByteOrderIProtocolX;
/// @}

/// The protocol for data that were written on the platform with this sign.
QV_EXPORT const IProtocolX& GetIProtocolX(PlatformSign writer) noexcept;

} // namespace QV
