#include <QVRoot/Channel/FilterNestingImpl.hpp>
#include <QVRoot/Channel/FilterOBinaryChannel.hpp>

#include <utility>

namespace QV {

FilterOBinaryChannel::FilterOBinaryChannel(BinaryChannelRef<OBinaryChannel> underlying)
    : OBinaryChannel(Impl::GetNestingAbove<FilterOBinaryChannel>(underlying)),
      underlying_(std::move(underlying))
{
}

FilterOBinaryChannel::~FilterOBinaryChannel() = default;

void FilterOBinaryChannel::Flush()
{
    underlying_->Flush();
}

void FilterOBinaryChannel::Close()
{
    underlying_->Close();
}

void FilterOBinaryChannel::WriteBytes(const char* data, UInt32 n)
{
    underlying_->Write(data, n);
}

} // namespace QV
