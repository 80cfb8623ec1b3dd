#include <QVRoot/Channel/FilterIBinaryChannel.hpp>
#include <QVRoot/Channel/FilterNestingImpl.hpp>

#include <utility>

namespace QV {

FilterIBinaryChannel::FilterIBinaryChannel(BinaryChannelRef<IBinaryChannel> underlying)
    : IBinaryChannel(Impl::GetNestingAbove<FilterIBinaryChannel>(underlying)),
      underlying_(std::move(underlying))
{
}

FilterIBinaryChannel::~FilterIBinaryChannel() = default;

UInt64 FilterIBinaryChannel::GetAvailable()
{
    return underlying_->GetAvailable();
}

bool FilterIBinaryChannel::IsEOI()
{
    return underlying_->IsEOI();
}

void FilterIBinaryChannel::Close()
{
    underlying_->Close();
}

UInt32 FilterIBinaryChannel::ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode)
{
    return underlying_->Read(dest, n, mode);
}

UInt64 FilterIBinaryChannel::SkipBytes(UInt64 n)
{
    return underlying_->SkipSome(n);
}

} // namespace QV
