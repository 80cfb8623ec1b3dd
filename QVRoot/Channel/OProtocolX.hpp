/// The extended output protocols: numbers of a fixed width and byte order onto a binary channel.
///
///     networkByteOrderOProtocolX.Write(channel, UInt32{3});
///
/// They are those of `IProtocolX.hpp` in the other direction. Only the types of `ScalarX` are taken, none is
/// converted to another: what is written is what is read.
///
/// Threads: no state, so any. Errors: those of the channel. Allocation: none.
#pragma once

#include <QVRoot/Channel/OBinaryChannel.hpp>
#include <QVRoot/Channel/PlatformSign.hpp>
#include <QVRoot/Channel/ScalarX.hpp>

namespace QV {

class QV_EXPORT OProtocolX {
public:
    virtual ~OProtocolX();

    template <ScalarX T>
    void Write(OBinaryChannel& channel, T value) const
    {
        WriteWord(channel, Impl::ToWord(value));
    }

protected:
    constexpr OProtocolX() noexcept = default;
    OProtocolX(const OProtocolX&) = default;
    OProtocolX& operator=(const OProtocolX&) = default;

    virtual void WriteWord(OBinaryChannel& channel, UInt8 word) const = 0;
    virtual void WriteWord(OBinaryChannel& channel, UInt16 word) const = 0;
    virtual void WriteWord(OBinaryChannel& channel, UInt32 word) const = 0;
    virtual void WriteWord(OBinaryChannel& channel, UInt64 word) const = 0;
};

/// Little-endian, as the running platform is.
class QV_EXPORT PlatformOProtocolX : public OProtocolX {
public:
    constexpr PlatformOProtocolX() noexcept = default;
    ~PlatformOProtocolX() override;

protected:
    void WriteWord(OBinaryChannel& channel, UInt8 word) const override;
    void WriteWord(OBinaryChannel& channel, UInt16 word) const override;
    void WriteWord(OBinaryChannel& channel, UInt32 word) const override;
    void WriteWord(OBinaryChannel& channel, UInt64 word) const override;
};

/// The order that the running platform has not.
class QV_EXPORT SwappingOProtocolX : public OProtocolX {
public:
    constexpr SwappingOProtocolX() noexcept = default;
    ~SwappingOProtocolX() override;

protected:
    void WriteWord(OBinaryChannel& channel, UInt8 word) const override;
    void WriteWord(OBinaryChannel& channel, UInt16 word) const override;
    void WriteWord(OBinaryChannel& channel, UInt32 word) const override;
    void WriteWord(OBinaryChannel& channel, UInt64 word) const override;
};

/// Big-endian.
class QV_EXPORT NetworkByteOrderOProtocolX : public SwappingOProtocolX {
public:
    constexpr NetworkByteOrderOProtocolX() noexcept = default;
    ~NetworkByteOrderOProtocolX() override;
};

/// Shared instances. They serve before `main` and after it.
/// @{
QV_EXPORT extern const PlatformOProtocolX& platformOProtocolX;
QV_EXPORT extern const SwappingOProtocolX& swappingOProtocolX;
QV_EXPORT extern const NetworkByteOrderOProtocolX& networkByteOrderOProtocolX;
/// @}

/// The protocol for data that are to be read on the platform with this sign.
QV_EXPORT const OProtocolX& GetOProtocolX(PlatformSign reader) noexcept;

} // namespace QV
