#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Channel/TransferImpl.hpp>

#include <algorithm>

namespace QV {

OChannel::OChannel(const OChannel& other) noexcept : OChannel(*other.protocol_)
{
    *this = other;
}

OChannel& OChannel::operator=(const OChannel& other) noexcept
{
    protocol_ = other.protocol_;
    CloseWindow();
    ownContext_ = other.ownContext_;
    context_ = other.context_ == &other.ownContext_ ? &ownContext_ : other.context_;
    return *this;
}

OChannel::~OChannel() = default;

QVErrCode OChannel::Flush()
{
    return NoError;
}

void OChannel::SetOutputProtocol(OProtocol& protocol)
{
    protocol_ = &protocol;
    windowEnd_ = nullptr; // what is in the window stays; the channel opens the next one
}

void OChannel::SetOutputContext(SerializationContext& context)
{
    context_ = &context;
}

QVErrCode OChannel::OpenBlock()
{
    PushMark();
    const QVErrCode error = Write(UInt32{0});
    PushMark();
    return error;
}

QVErrCode OChannel::CloseBlock()
{
    PopMark();
    const UInt32 length = GetOffset();
    PopMark();
    const QVErrCode error = Write(length);
    ResetOffset();
    return error;
}

QVErrCode Copy(IChannel& in, OChannel& out, UInt64 n)
{
    constexpr UInt32 bufferSize = 4096;
    constexpr UInt64 toTheEnd = ~UInt64{0};
    char buffer[bufferSize];
    UInt64 remaining = n;
    UInt32 got = 0;
    const auto readChunk = [&] {
        const UInt32 wanted = static_cast<UInt32>(std::min<UInt64>(remaining, bufferSize));
        got = 0;
        QVErrCode error = in.ReadBin(buffer, wanted, &got);
        if (error == NoError && got == 0 && wanted != 0) {
            error = ErrRead; // a channel that neither delivers nor fails would keep the loop going
        }
        remaining -= got;
        return error;
    };

    QVErrCode readError = readChunk();
    while (readError == NoError && remaining != 0) {
        if (const QVErrCode error = Impl::WriteFully(out, buffer, got)) {
            return error;
        }
        readError = readChunk();
    }
    if ((readError == ErrEndOfInput || remaining == 0) && got != 0) {
        if (const QVErrCode error = Impl::WriteFully(out, buffer, got)) {
            return error;
        }
    }
    if (readError == ErrEndOfInput && (n == toTheEnd || remaining == 0)) {
        return NoError;
    }
    return readError;
}

} // namespace QV
