#include <QVRoot/Channel/MemImageImpl.hpp>
#include <QVRoot/Channel/SwappedMemProtocol.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <algorithm>
#include <bit>
#include <cstring>

namespace QV {

namespace {

template <class T>
T Swap(T value) noexcept
{
    char image[sizeof(T)];
    std::memcpy(image, &value, sizeof(T));
    std::reverse(image, image + sizeof(T));
    std::memcpy(&value, image, sizeof(T));
    return value;
}

/// Through the type without a sign of its size, so that no number is ever loaded with its bytes in the wrong
/// order as a floating-point one, which may change it.
template <class Bits, class T>
QVErrCode ReadSwapped(IMemProtocol& native, IChannel& ic, T& value)
{
    Bits bits = 0;
    const QVErrCode error = native.IMemProtocol::Read(ic, bits);
    if (error == NoError) {
        value = std::bit_cast<T>(Swap(bits));
    }
    return error;
}

template <class Bits, class T>
QVErrCode WriteSwapped(OMemProtocol& native, OChannel& oc, T value)
{
    return native.OMemProtocol::Write(oc, Swap(std::bit_cast<Bits>(value)));
}

} // namespace

ISwappedMemProtocol::~ISwappedMemProtocol() = default;

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, Guid& value)
{
    if (const char* const image = Impl::MemImage::TryTake(ic, sizeof(value))) {
        std::memcpy(static_cast<void*>(&value), image, sizeof(value));
        value.IV(MacPlatformSign);
        return NoError;
    }
    return IMemProtocol::Read(ic, value);
}

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, double& value)
{
    return ReadSwapped<UInt64>(*this, ic, value);
}

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, float& value)
{
    return ReadSwapped<UInt32>(*this, ic, value);
}

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, UInt64& value)
{
    return ReadSwapped<UInt64>(*this, ic, value);
}

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, Int64& value)
{
    return ReadSwapped<UInt64>(*this, ic, value);
}

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, UInt32& value)
{
    return ReadSwapped<UInt32>(*this, ic, value);
}

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, Int32& value)
{
    return ReadSwapped<UInt32>(*this, ic, value);
}

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, UInt16& value)
{
    return ReadSwapped<UInt16>(*this, ic, value);
}

QVErrCode ISwappedMemProtocol::Read(IChannel& ic, Int16& value)
{
    return ReadSwapped<UInt16>(*this, ic, value);
}

OSwappedMemProtocol::~OSwappedMemProtocol() = default;

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, const Guid& value)
{
    Guid swapped = value;
    swapped.IV(MacPlatformSign);
    return swapped.WriteBinary(oc);
}

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, double value)
{
    return WriteSwapped<UInt64>(*this, oc, value);
}

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, float value)
{
    return WriteSwapped<UInt32>(*this, oc, value);
}

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, UInt64 value)
{
    return WriteSwapped<UInt64>(*this, oc, value);
}

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, Int64 value)
{
    return WriteSwapped<UInt64>(*this, oc, value);
}

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, UInt32 value)
{
    return WriteSwapped<UInt32>(*this, oc, value);
}

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, Int32 value)
{
    return WriteSwapped<UInt32>(*this, oc, value);
}

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, UInt16 value)
{
    return WriteSwapped<UInt16>(*this, oc, value);
}

QVErrCode OSwappedMemProtocol::Write(OChannel& oc, Int16 value)
{
    return WriteSwapped<UInt16>(*this, oc, value);
}

} // namespace QV
