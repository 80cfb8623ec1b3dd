#include <QVRoot/Channel/IChannel.hpp>

namespace QV {

IChannel::IChannel(const IChannel& other) noexcept : IChannel(*other.protocol_)
{
    *this = other;
}

IChannel& IChannel::operator=(const IChannel& other) noexcept
{
    protocol_ = other.protocol_;
    CloseWindow();
    ownContext_ = other.ownContext_;
    context_ = other.context_ == &other.ownContext_ ? &ownContext_ : other.context_;
    return *this;
}

IChannel::~IChannel() = default;

QVErrCode IChannel::PushBack(char c)
{
    return PushBack(&c, 1);
}

QVErrCode IChannel::GetAvailable(UInt32* n) const
{
    UInt64 available = 0;
    const QVErrCode error = GetAvailable(&available);
    if (error != NoError) {
        return error;
    }
    if (available > 0xFFFFFFFFu) {
        *n = 0;
        return ErrGeneral;
    }
    *n = static_cast<UInt32>(available);
    return NoError;
}

QVErrCode IChannel::GetAvailable(UInt64*) const
{
    return ErrGeneral;
}

bool IChannel::IsEOI()
{
    char c;
    return Look(0, &c) == ErrEndOfInput;
}

void IChannel::SetInputProtocol(IProtocol& protocol)
{
    protocol_ = &protocol;
    windowEnd_ = nullptr; // the channel knows where it stands, and opens the next one
}

void IChannel::SetInputContext(SerializationContext& context)
{
    context_ = &context;
}

QVErrCode IChannel::ConvertObjectReadError(int error) noexcept
{
    constexpr QVErrCode endInsideObject = ErrDataIntegrity;
    return error == ErrEndOfInput ? endInsideObject : error;
}

} // namespace QV
