#include <QVRoot/Channel/Subchannels/IBinarySubChannel.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

#include <utility>

namespace QV {

namespace {

/// Without it, a reader that goes on until it has everything would go on for ever.
template <class Count>
Count RequireSome(Count count)
{
    if (count == 0) [[unlikely]] {
        QV_THROW(UnexpectedEndOfInputDataIntegrityException, "the input ends inside a section");
    }
    return count;
}

} // namespace

IBinarySubChannel::IBinarySubChannel(BinaryChannelRef<IBinaryChannel> underlying, const IProtocolX& protocol)
    : FilterIBinaryChannel(std::move(underlying)), protocol_(&protocol)
{
}

IBinarySubChannel::~IBinarySubChannel() = default;

UInt32 IBinarySubChannel::ReadInside(char* dest, UInt32 n, ReadSomeModeSelector mode)
{
    return RequireSome(GetUnderlying().Read(dest, n, mode));
}

UInt64 IBinarySubChannel::SkipInside(UInt64 n)
{
    return RequireSome(GetUnderlying().SkipSome(n));
}

} // namespace QV
