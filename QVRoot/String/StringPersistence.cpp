#include <QVRoot/BasicEnvironment/NullReferenceImpl.hpp>
#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/String.hpp>

#include <algorithm>
#include <new>

namespace QV {

namespace {

constexpr ClassInfo stringInfo("QV::String", {},
                               Guid(0xF1B28FD3, 0xECB0, 0x410D,
                                    {0x94, 0x06, 0xCB, 0xB9, 0xB6, 0x59, 0xF8, 0x4E}),
                               {3, 0}, {2, 0});

constexpr UInt16 marker = 0x5757;

/// From this version on the text is written as it stands; before, in the legacy code page.
constexpr UInt8 plainTextVersion = 2;
/// Before this version a zero stands behind the marker.
constexpr UInt8 shortHeaderVersion = 3;

/// A length that comes from outside is believed up to here; beyond, the bytes must be seen to arrive.
constexpr UInt32 trustedLength = 65536;

constexpr UInt32 maxPiece = 0x40000000;

/// Converts a whole text; false for an empty one and for lack of memory, when the result is out of it.
template <class Convert>
bool ConvertText(std::string_view source, Convert convert, String& result)
{
    const int sourceLength = static_cast<int>(std::min<USize>(source.size(), 0x7FFFFFFF));
    const int needed = convert(source.data(), sourceLength, nullptr, 0);
    if (needed <= 0 || result.SetLength(static_cast<UInt32>(needed)) != NoError) {
        return false;
    }
    const int written = convert(source.data(), sourceLength, &result[0], needed);
    result.SetLength(static_cast<UInt32>(std::max(written, 0)));
    return written > 0;
}

int ConvertToLegacy(const char* source, int length, char* to, int toLength) noexcept
{
    return CHUTF8toANSI(source, length, to, toLength, LegacyCharCode);
}

int ConvertLegacyToUtf8(const char* source, int length, char* to, int toLength) noexcept
{
    return CHANSItoUTF8(source, length, to, toLength, LegacyCharCode);
}

void WriteBytes(OChannel& oc, std::string_view text)
{
    oc.Write(static_cast<UInt32>(text.size()));
    const bool isNative = Impl::HasNativeProtocol(oc);
    for (USize i = 0; i < text.size() && oc.GetOutputStatus() == NoError;) {
        // In one piece what the protocol would write byte by byte.
        const UInt32 count = isNative ? static_cast<UInt32>(std::min<USize>(maxPiece, text.size() - i)) : 1;
        if (isNative) {
            Impl::WriteFully(oc, text.data() + i, count);
        } else {
            oc.Write(text[i]);
        }
        i += count;
    }
}

} // namespace

const ClassInfo& String::GetStaticClassInfo() noexcept
{
    return stringInfo;
}

const ClassInfo* String::GetClassInfo() const
{
    return &stringInfo;
}

String* String::Clone() const
{
    return new String(*this);
}

QVErrCode String::Write(OChannel& oc) const
{
    if (Impl::IsNullReference(&oc)) {
        QV_THROW(NullReferenceException, "String: channel is null");
    }
    const OutputFrame frame(oc, stringInfo);
    return WriteContent(oc, frame.GetMainVersion());
}

QVErrCode String::WriteContent(OChannel& oc, UInt8 version) const
{
    if (isOutOfMemory_) {
        return oc.GetOutputStatus();
    }
    oc.Write(marker);
    if (version < shortHeaderVersion) {
        oc.Write(UInt16{0});
    }
    String legacyText;
    const bool isLegacy = version < plainTextVersion && ConvertText(GetView(), ConvertToLegacy, legacyText);
    if (legacyText.isOutOfMemory_) {
        return ErrMemoryFull;
    }
    WriteBytes(oc, isLegacy ? legacyText.GetView() : GetView());
    return oc.GetOutputStatus();
}

QVErrCode String::Read(IChannel& ic)
{
    Clear();
    const InputFrame frame(ic, stringInfo);
    if (frame.GetStatus() != NoError) {
        return frame.GetStatus();
    }
    const QVErrCode error = ReadContent(ic, frame.GetMainVersion());
    if (error != NoError) {
        length_ = 0;
    }
    return error;
}

QVErrCode String::ReadContent(IChannel& ic, UInt8 version)
{
    UInt16 value = 0;
    if (const QVErrCode error = ic.Read(value)) {
        return error;
    }
    if (value != marker) {
        return ErrDataIntegrity;
    }
    if (version < shortHeaderVersion) {
        if (const QVErrCode error = ic.Read(value)) {
            return error;
        }
        if (value != 0) {
            return ErrDataIntegrity;
        }
    }
    UInt32 length = 0;
    if (const QVErrCode error = ic.Read(length)) {
        return error;
    }
    if (const QVErrCode error = ReadBytes(ic, length)) {
        return error;
    }
    return version < plainTextVersion ? ConvertFromLegacy() : NoError;
}

QVErrCode String::ReadBytes(IChannel& ic, UInt32 length)
{
    const bool isNative = Impl::HasNativeProtocol(ic);
    UInt64 available = 0;
    const bool isBacked = length <= trustedLength ||
                          (isNative && ic.GetAvailable(&available) == NoError && available >= length);
    while (length_ < length) {
        // Where the input does not vouch for the length, memory follows the data: at most twice what arrived.
        const UInt64 trusted = std::max<UInt64>(trustedLength, 2 * UInt64{length_});
        const UInt32 end = static_cast<UInt32>(isBacked ? length : std::min<UInt64>(length, trusted));
        const UInt32 count = std::min(end - length_, maxPiece);
        if (!EnsureCapacity(UInt64{length_} + count)) {
            return ErrMemoryFull;
        }
        QVErrCode error = NoError;
        if (isNative) {
            error = Impl::ReadFully(ic, buffer_ + length_, count);
        } else {
            for (UInt32 i = 0; i < count && error == NoError; ++i) {
                error = ic.Read(buffer_[length_ + i]);
            }
        }
        const QVErrCode status = ic.GetInputStatus();
        if (status != NoError || error != NoError) {
            return status != NoError ? status : error;
        }
        length_ += count;
    }
    return ic.GetInputStatus();
}

QVErrCode String::ConvertFromLegacy()
{
    String text;
    if (ConvertText(GetView(), ConvertLegacyToUtf8, text)) {
        Swap(text);
    } else if (text.isOutOfMemory_) {
        OutOfMemory();
    }
    return GetStatus();
}

void String::Print(OChannel& oc) const
{
    oc.Write(ToCStr());
}

} // namespace QV
