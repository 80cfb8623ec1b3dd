#include <QVRoot/Channel/MemImageImpl.hpp>
#include <QVRoot/Channel/TextOProtocol.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/String/DecimalTextImpl.hpp>
#include <QVRoot/String/RealTextImpl.hpp>

#include <cmath>
#include <cstring>

namespace QV {

namespace {

QVErrCode WriteText(OChannel& oc, const char* text, USize length)
{
    if (char* const image = Impl::MemImage::TryAppend(oc, length)) [[likely]] {
        std::memcpy(image, text, length);
        return NoError;
    }
    if (length == 0) {
        return oc.WriteBin(text, 0, nullptr); // an empty text tells of a failed channel as well
    }
    return length <= 0xFFFFFFFFu ? Impl::WriteFully(oc, text, static_cast<UInt32>(length)) : ErrParam;
}

template <class Integer>
QVErrCode WriteInteger(OChannel& oc, Integer value)
{
    char text[1 + Impl::MaxDecimalDigits] = {'-'};
    const UInt32 sign = value < 0;
    const auto magnitude = Impl::GetMagnitude(value);
    const UInt32 digits = Impl::CountDecimalDigits(magnitude);
    Impl::WriteDecimal(magnitude, text + sign, digits);
    return WriteText(oc, text, sign + digits);
}

QVErrCode WriteReal(OChannel& oc, double value, char conversion, int precision)
{
    constexpr UInt32 signRoom = 1;
    Impl::RealText text;
    Impl::MakeRealText(std::fabs(value), conversion, precision, false, text);
    if (!std::signbit(value)) {
        return WriteText(oc, text.text, text.length);
    }
    std::memmove(text.text + signRoom, text.text, text.length);
    text.text[0] = '-';
    return WriteText(oc, text.text, signRoom + text.length);
}

/// Keeps the instance from being destroyed.
union Immortal {
    constexpr Immortal() noexcept : protocol() {}
    ~Immortal() {}

    TextOProtocol protocol;
};

constinit Immortal sharedProtocol;

} // namespace

constinit TextOProtocol& textOProtocol = sharedProtocol.protocol;

TextOProtocol::~TextOProtocol() = default;

QVErrCode TextOProtocol::Write(OChannel& oc, const Object& value)
{
    return value.Write(oc);
}

QVErrCode TextOProtocol::Write(OChannel& oc, const char* value)
{
    return value != nullptr ? WriteText(oc, value, std::strlen(value)) : ErrGeneral;
}

QVErrCode TextOProtocol::Write(OChannel& oc, const void* value)
{
    if (value == nullptr) {
        return WriteText(oc, "nullptr", 7);
    }
    constexpr UInt32 length = 2 + 2 * sizeof(UInt64);
    char text[length] = {'0', 'x'};
    UInt64 rest = reinterpret_cast<USize>(value);
    for (UInt32 i = length; i > 2; rest >>= 4) {
        text[--i] = "0123456789ABCDEF"[rest & 15];
    }
    return WriteText(oc, text, length);
}

QVErrCode TextOProtocol::Write(OChannel& oc, long double value)
{
    return Write(oc, static_cast<double>(value));
}

QVErrCode TextOProtocol::Write(OChannel& oc, double value)
{
    return WriteReal(oc, value, 'g', 16);
}

QVErrCode TextOProtocol::Write(OChannel& oc, float value)
{
    return WriteReal(oc, value, 'f', 6);
}

QVErrCode TextOProtocol::Write(OChannel& oc, UInt64 value)
{
    return WriteInteger(oc, value);
}

QVErrCode TextOProtocol::Write(OChannel& oc, Int64 value)
{
    return WriteInteger(oc, value);
}

QVErrCode TextOProtocol::Write(OChannel& oc, unsigned long value)
{
    return WriteInteger(oc, value);
}

QVErrCode TextOProtocol::Write(OChannel& oc, long value)
{
    return WriteInteger(oc, value);
}

QVErrCode TextOProtocol::Write(OChannel& oc, UInt32 value)
{
    return WriteInteger(oc, value);
}

QVErrCode TextOProtocol::Write(OChannel& oc, Int32 value)
{
    return WriteInteger(oc, value);
}

QVErrCode TextOProtocol::Write(OChannel& oc, UInt16 value)
{
    return WriteInteger(oc, value);
}

QVErrCode TextOProtocol::Write(OChannel& oc, Int16 value)
{
    return WriteInteger(oc, value);
}

QVErrCode TextOProtocol::Write(OChannel& oc, bool value)
{
    return value ? WriteText(oc, "true", 4) : WriteText(oc, "false", 5);
}

QVErrCode TextOProtocol::Write(OChannel& oc, UInt8 value)
{
    return Write(oc, static_cast<char>(value));
}

QVErrCode TextOProtocol::Write(OChannel& oc, char value)
{
    return WriteText(oc, &value, 1);
}

} // namespace QV
