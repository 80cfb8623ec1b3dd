#include <QVRoot/BasicEnvironment/NullReferenceImpl.hpp>
#include <QVRoot/Channel/MemImageImpl.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/String/UniString.hpp>

#include <algorithm>
#include <cstring>

namespace QV {

namespace {

constexpr ClassInfo uniStringInfo("QV::UniString", {},
                                  Guid(0x91EBEEBE, 0x9D23, 0x4FF6,
                                       {0xB5, 0x44, 0xD1, 0x48, 0x40, 0x7C, 0x3B, 0xF7}),
                                  {1, 0}, {1, 0});

/// A length that comes from outside is believed up to here; beyond, the units must be seen to arrive.
constexpr UInt32 trustedLength = 65536;

/// Version and length, in front of the units.
constexpr UInt32 headSize = 6;

constexpr ClassVersion version = uniStringInfo.GetVersion();
static_assert(version == uniStringInfo.GetOldVersion() && version.subVersion == 0,
              "one form is written, and its frame has no length");

/// The most units moved at once, so that byte counts fit 32 bits.
constexpr UInt32 maxPiece = 0x20000000;

} // namespace

const ClassInfo& UniString::GetStaticClassInfo() noexcept
{
    return uniStringInfo;
}

const ClassInfo* UniString::GetClassInfo() const
{
    return &uniStringInfo;
}

UniString* UniString::Clone() const
{
    return new UniString(*this);
}

QVErrCode UniString::Write(OChannel& oc) const
{
    if (Impl::IsNullReference(&oc)) {
        QV_THROW(NullReferenceException, "UniString: channel is null");
    }
    if (TryWriteImage(oc)) [[likely]] {
        return NoError;
    }
    const OutputFrame frame(oc, uniStringInfo);
    const UInt32 length = GetLength();
    oc.Write(length);
    if (Impl::HasNativeProtocol(oc)) {
        // In one piece what the protocol would write unit by unit.
        for (UInt32 i = 0; i < length; i += std::min(maxPiece, length - i)) {
            const UInt32 count = std::min(maxPiece, length - i);
            Impl::WriteFully(oc, reinterpret_cast<const char*>(buffer_->content + i),
                             count * static_cast<UInt32>(sizeof(unsigned short)));
        }
    } else {
        for (UInt32 i = 0; i < length; ++i) {
            oc.Write(buffer_->content[i]);
        }
    }
    return oc.GetOutputStatus();
}

/// The whole form in one piece, where there is room for it in a memory channel.
bool UniString::TryWriteImage(OChannel& oc) const noexcept
{
    const UInt32 length = GetLength();
    char* const image = Impl::MemImage::TryAppendNative(oc, headSize + USize{length} * sizeof(unsigned short));
    if (image == nullptr) {
        return false;
    }
    image[0] = static_cast<char>(version.mainVersion);
    image[1] = static_cast<char>(version.subVersion);
    std::memcpy(image + 2, &length, sizeof(length));
    if (length != 0) {
        std::memcpy(image + headSize, buffer_->content, USize{length} * sizeof(unsigned short));
    }
    return true;
}

/// The whole form in one piece, where it is there unharmed in a memory channel. The string is empty.
bool UniString::TryReadImage(IChannel& ic)
{
    const char* const image = Impl::MemImage::TryLookNative(ic, headSize);
    if (image == nullptr || image[0] != version.mainVersion || image[1] != version.subVersion) {
        return false;
    }
    UInt32 length = 0;
    std::memcpy(&length, image + 2, sizeof(length));
    const USize size = USize{length} * sizeof(unsigned short);
    if (Impl::MemImage::TryLook(ic, headSize + size) == nullptr) {
        return false;
    }
    if (length != 0) {
        SetBuffer(AllocateBuffer(length));
        std::memcpy(buffer_->content, image + headSize, size);
        buffer_->length = length;
    }
    Impl::MemImage::TryTake(ic, headSize + size);
    return true;
}

QVErrCode UniString::Read(IChannel& ic)
{
    Clear();
    if (TryReadImage(ic)) [[likely]] {
        return NoError;
    }
    const InputFrame frame(ic, uniStringInfo);
    if (frame.GetStatus() != NoError) {
        return frame.GetStatus();
    }
    UInt32 length = 0;
    if (const QVErrCode error = ic.Read(length)) {
        return error;
    }
    if (length == 0) {
        return ic.GetInputStatus();
    }
    const QVErrCode error = ReadUnits(ic, length);
    if (error != NoError) {
        buffer_->length = 0;
    }
    return error;
}

QVErrCode UniString::ReadUnits(IChannel& ic, UInt32 length)
{
    UInt64 available = 0;
    const bool backed =
        length <= trustedLength || (Impl::HasNativeProtocol(ic) && ic.GetAvailable(&available) == NoError &&
                                    available / sizeof(unsigned short) >= length);
    AboutToModify(backed ? length : trustedLength);
    for (UInt32 done = 0; done < length;) {
        // Where the input does not vouch for the length, memory follows the data: at most twice what arrived.
        const UInt32 end = backed ? length : std::min(length, std::max(trustedLength, 2 * done));
        IncreaseCapacity(end);
        if (const QVErrCode error = ReadUnitsInto(ic, done, end)) {
            return error;
        }
        done = end;
        buffer_->length = done;
    }
    return NoError;
}

QVErrCode UniString::ReadUnitsInto(IChannel& ic, UInt32 first, UInt32 end)
{
    QVErrCode error = NoError;
    if (Impl::HasNativeProtocol(ic)) {
        for (UInt32 i = first; i < end && error == NoError; i += std::min(maxPiece, end - i)) {
            const UInt32 count = std::min(maxPiece, end - i);
            error = Impl::ReadFully(ic, reinterpret_cast<char*>(buffer_->content + i),
                                    count * static_cast<UInt32>(sizeof(unsigned short)));
        }
    } else {
        for (UInt32 i = first; i < end && error == NoError; ++i) {
            error = ic.Read(buffer_->content[i]);
        }
    }
    const QVErrCode status = ic.GetInputStatus();
    return status != NoError ? status : error;
}

void UniString::Print(OChannel& oc) const
{
    oc.Write(ToCStr());
}

void UniString::Dump(OChannel& oc) const
{
    oc.Write("length:   ");
    oc.Write(GetLength());
    oc.Write('\n');
    oc.Write("capacity: ");
    oc.Write(GetCapacity());
    oc.Write('\n');
    oc.Write("sharers:  ");
    oc.Write(buffer_ == nullptr ? 0u : buffer_->refCounter.Get());
    oc.Write('\n');
    oc.Write("text:     ");
    Print(oc);
    oc.Write('\n');
}

} // namespace QV
