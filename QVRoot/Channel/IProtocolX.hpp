/// The extended input protocols: numbers of a fixed width and byte order from a binary channel.
///
///     UInt32 count;
///     platformIProtocolX.Read(channel, count);
///
/// | protocol                     | byte order                                  |
/// |------------------------------|---------------------------------------------|
/// | `PlatformIProtocolX`         | the running platform's: little-endian       |
/// | `SwappingIProtocolX`         | the other one, for data that came from there|
/// | `NetworkByteOrderIProtocolX` | big-endian                                  |
///
/// A protocol of one's own derives from `IProtocolX` and reads words of 8 to 64 bits; all values are made of
/// them: floating-point numbers by their IEEE 754 bits, a bool as a byte, of which any but 0 is true.
///
/// Threads: no state, so any. Errors: `EndOfInputException` where the input ends before the value does, else
/// those of the channel; the value stays as it was. Allocation: none.
#pragma once

#include <QVRoot/Channel/IBinaryChannel.hpp>
#include <QVRoot/Channel/PlatformSign.hpp>
#include <QVRoot/Channel/ScalarX.hpp>

namespace QV {

class QV_EXPORT IProtocolX {
public:
    virtual ~IProtocolX();

    template <ScalarX T>
    void Read(IBinaryChannel& channel, T& value) const
    {
        Impl::WordOf<T> word;
        ReadWord(channel, word);
        value = Impl::FromWord<T>(word);
    }

protected:
    constexpr IProtocolX() noexcept = default;
    IProtocolX(const IProtocolX&) = default;
    IProtocolX& operator=(const IProtocolX&) = default;

    virtual void ReadWord(IBinaryChannel& channel, UInt8& word) const = 0;
    virtual void ReadWord(IBinaryChannel& channel, UInt16& word) const = 0;
    virtual void ReadWord(IBinaryChannel& channel, UInt32& word) const = 0;
    virtual void ReadWord(IBinaryChannel& channel, UInt64& word) const = 0;
};

class QV_EXPORT PlatformIProtocolX : public IProtocolX {
public:
    constexpr PlatformIProtocolX() noexcept = default;
    ~PlatformIProtocolX() override;

protected:
    void ReadWord(IBinaryChannel& channel, UInt8& word) const override;
    void ReadWord(IBinaryChannel& channel, UInt16& word) const override;
    void ReadWord(IBinaryChannel& channel, UInt32& word) const override;
    void ReadWord(IBinaryChannel& channel, UInt64& word) const override;
};

class QV_EXPORT SwappingIProtocolX : public IProtocolX {
public:
    constexpr SwappingIProtocolX() noexcept = default;
    ~SwappingIProtocolX() override;

protected:
    void ReadWord(IBinaryChannel& channel, UInt8& word) const override;
    void ReadWord(IBinaryChannel& channel, UInt16& word) const override;
    void ReadWord(IBinaryChannel& channel, UInt32& word) const override;
    void ReadWord(IBinaryChannel& channel, UInt64& word) const override;
};

/// The running platform is little-endian on every target.
class QV_EXPORT NetworkByteOrderIProtocolX : public SwappingIProtocolX {
public:
    constexpr NetworkByteOrderIProtocolX() noexcept = default;
    ~NetworkByteOrderIProtocolX() override;
};

/// Shared instances. They serve before `main` and after it.
/// @{
QV_EXPORT extern const PlatformIProtocolX& platformIProtocolX;
QV_EXPORT extern const SwappingIProtocolX& swappingIProtocolX;
QV_EXPORT extern const NetworkByteOrderIProtocolX& networkByteOrderIProtocolX;
/// @}

/// The protocol for data that were written on the platform with this sign.
QV_EXPORT const IProtocolX& GetIProtocolX(PlatformSign writer) noexcept;

} // namespace QV
