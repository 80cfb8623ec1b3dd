#include <QVRoot/Channel/IChannelX.hpp>
#include <QVRoot/Channel/MemImageImpl.hpp>
#include <QVRoot/Channel/OChannelX.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/Utilities/GuidTextImpl.hpp>

#include <cstring>

namespace QV {

QVErrCode Guid::Read(IChannel& ic)
{
    return ic.Read(*this);
}

QVErrCode Guid::Write(OChannel& oc) const
{
    return oc.Write(*this);
}

QVErrCode Guid::ReadStructured(IChannel& ic)
{
    if (Impl::HasNativeProtocol(ic)) {
        if (const char* const image = Impl::MemImage::TryTake(ic, sizeof(*this))) [[likely]] {
            std::memcpy(static_cast<void*>(this), image, sizeof(*this));
            return NoError;
        }
    }
    ic.Read(data1_);
    ic.Read(data2_);
    ic.Read(data3_);
    for (UInt8& byte : data4_) {
        ic.Read(byte);
    }
    return ic.GetInputStatus();
}

QVErrCode Guid::WriteStructured(OChannel& oc) const
{
    if (Impl::HasNativeProtocol(oc)) {
        if (char* const image = Impl::MemImage::TryAppend(oc, sizeof(*this))) [[likely]] {
            std::memcpy(image, this, sizeof(*this));
            return NoError;
        }
    }
    oc.Write(data1_);
    oc.Write(data2_);
    oc.Write(data3_);
    for (const UInt8 byte : data4_) {
        oc.Write(byte);
    }
    return oc.GetOutputStatus();
}

QVErrCode Guid::ReadBinary(IChannel& ic)
{
    Guid value;
    const QVErrCode error = Impl::ReadFully(ic, reinterpret_cast<char*>(&value), sizeof(value));
    if (error != NoError) {
        return error;
    }
    *this = value;
    return ic.GetInputStatus();
}

QVErrCode Guid::WriteBinary(OChannel& oc) const
{
    const QVErrCode error = Impl::WriteFully(oc, reinterpret_cast<const char*>(this), sizeof(*this));
    return error != NoError ? error : oc.GetOutputStatus();
}

QVErrCode Guid::ReadAsText(IChannel& ic)
{
    char text[Impl::guidTextLength];
    for (char& c : text) {
        if (const QVErrCode error = ic.Read(c)) {
            return error;
        }
    }
    if (!Impl::ParseSeparatedGuid(text, *this)) {
        return ErrGuidFormat;
    }
    return ic.GetInputStatus();
}

QVErrCode Guid::WriteAsText(OChannel& oc) const
{
    char text[Impl::guidTextLength];
    Impl::PrintGuid(*this, text);
    for (const char c : text) {
        oc.Write(c);
    }
    return oc.GetOutputStatus();
}

void Guid::Read(const IChannelX& ic)
{
    Guid value;
    ic.Read(value.data1_);
    ic.Read(value.data2_);
    ic.Read(value.data3_);
    ic.ReadBytes(reinterpret_cast<char*>(value.data4_), sizeof(value.data4_));
    *this = value;
}

void Guid::Write(const OChannelX& oc) const
{
    oc.Write(data1_);
    oc.Write(data2_);
    oc.Write(data3_);
    oc.WriteBytes(reinterpret_cast<const char*>(data4_), sizeof(data4_));
}

void Guid::ReadBinary(const IChannelX& ic)
{
    Guid value;
    ic.ReadBytes(reinterpret_cast<char*>(&value), sizeof(value));
    *this = value;
}

void Guid::WriteBinary(const OChannelX& oc) const
{
    oc.WriteBytes(reinterpret_cast<const char*>(this), sizeof(*this));
}

} // namespace QV
