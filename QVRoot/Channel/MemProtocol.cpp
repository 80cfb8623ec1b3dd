#include <QVRoot/Channel/MemImageImpl.hpp>
#include <QVRoot/Channel/MemProtocol.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/ObjectModel/Object.hpp>

#include <bit>
#include <cstring>
#include <limits>

namespace QV {

static_assert(std::endian::native == std::endian::little, "scalars are written as their images");

namespace {

QVErrCode WriteBytes(OChannel& oc, const char* bytes, UInt32 n)
{
    return Impl::WriteFully(oc, bytes, n);
}

/// A scalar whose image is not there whole: it is put together aside, so that a failure leaves the value
/// alone.
template <class T>
QVErrCode ReadImageSlowly(IChannel& ic, T& value)
{
    char image[sizeof(T)];
    const QVErrCode error = Impl::ReadFully(ic, image, sizeof(T));
    if (error == NoError) {
        std::memcpy(&value, image, sizeof(T));
    }
    return error;
}

template <class T>
inline QVErrCode ReadImage(IChannel& ic, T& value)
{
    if (const char* const image = Impl::MemImage::TryTake(ic, sizeof(T))) [[likely]] {
        std::memcpy(&value, image, sizeof(T));
        return NoError;
    }
    return ReadImageSlowly(ic, value);
}

template <class T>
inline QVErrCode WriteImage(OChannel& oc, T value)
{
    if (char* const image = Impl::MemImage::TryAppend(oc, sizeof(T))) [[likely]] {
        std::memcpy(image, &value, sizeof(T));
        return NoError;
    }
    return WriteBytes(oc, reinterpret_cast<const char*>(&value), sizeof(T));
}

/// The longest text whose length with the NUL fits the count.
constexpr USize maxTextLength = 0x7FFFFFFE;

} // namespace

QVErrCode IMemProtocol::Read(IChannel& ic, Object& value)
{
    return value.Read(ic);
}

QVErrCode IMemProtocol::Read(IChannel& ic, char* value)
{
    Int32 count = 0;
    if (const QVErrCode error = Read(ic, count)) {
        return error;
    }
    if (count < 0) {
        return ErrDataIntegrity;
    }
    return Impl::ReadFully(ic, value, static_cast<UInt32>(count));
}

QVErrCode IMemProtocol::Read(IChannel& ic, long double& value)
{
    double image = 0;
    const QVErrCode error = Read(ic, image);
    if (error == NoError) {
        value = image;
    }
    return error;
}

QVErrCode IMemProtocol::Read(IChannel& ic, double& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, float& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, UInt64& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, Int64& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, unsigned long& value)
{
    UInt32 image = 0;
    const QVErrCode error = Read(ic, image);
    if (error == NoError) {
        value = image;
    }
    return error;
}

QVErrCode IMemProtocol::Read(IChannel& ic, long& value)
{
    Int32 image = 0;
    const QVErrCode error = Read(ic, image);
    if (error == NoError) {
        value = image;
    }
    return error;
}

QVErrCode IMemProtocol::Read(IChannel& ic, UInt32& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, Int32& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, UInt16& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, Int16& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, bool& value)
{
    // Raw: whether the byte is a valid bool is the writer's business.
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, UInt8& value)
{
    return ReadImage(ic, value);
}

QVErrCode IMemProtocol::Read(IChannel& ic, char& value)
{
    return ReadImage(ic, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, const Object& value)
{
    return value.Write(oc);
}

QVErrCode OMemProtocol::Write(OChannel& oc, const char* value)
{
    if (value == nullptr) {
        return ErrGeneral;
    }
    const USize length = std::strlen(value);
    if (length > maxTextLength) {
        return ErrParam;
    }
    Write(oc, static_cast<Int32>(length + 1));
    return WriteBytes(oc, value, static_cast<UInt32>(length + 1));
}

QVErrCode OMemProtocol::Write(OChannel&, const void*)
{
    return ErrGeneral;
}

QVErrCode OMemProtocol::Write(OChannel& oc, long double value)
{
    return Write(oc, static_cast<double>(value));
}

QVErrCode OMemProtocol::Write(OChannel& oc, double value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, float value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, UInt64 value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, Int64 value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, unsigned long value)
{
    if (value > std::numeric_limits<UInt32>::max()) {
        return ErrParam;
    }
    return Write(oc, static_cast<UInt32>(value));
}

QVErrCode OMemProtocol::Write(OChannel& oc, long value)
{
    if (value < std::numeric_limits<Int32>::min() || value > std::numeric_limits<Int32>::max()) {
        return ErrParam;
    }
    return Write(oc, static_cast<Int32>(value));
}

QVErrCode OMemProtocol::Write(OChannel& oc, UInt32 value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, Int32 value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, UInt16 value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, Int16 value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, bool value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, UInt8 value)
{
    return WriteImage(oc, value);
}

QVErrCode OMemProtocol::Write(OChannel& oc, char value)
{
    return WriteImage(oc, value);
}

} // namespace QV
