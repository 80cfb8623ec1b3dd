#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/Exceptions/StackInfo.hpp>

#include <cstdio>

namespace QV {

// Not to be inlined: the frame that is left out would then be the caller's.
[[gnu::noinline]] void StackInfo::Capture(UInt32 skip) noexcept
{
    constexpr UInt32 SkipMax = ~UInt32(0);
    depth_ = Impl::CaptureStack(GetAddresses(), capacity_, skip == SkipMax ? skip : skip + 1);
}

void StackInfo::Describe(UInt32 index, char* text, USize size) const
{
    Impl::DescribeAddress(GetAddress(index), text, size);
}

void StackInfo::Print(OChannel& channel) const
{
    char description[1024];
    char number[40];
    for (UInt32 i = 0; i < depth_; ++i) {
        std::snprintf(number, sizeof number, "#%u 0x%016llx ", i, reinterpret_cast<UInt64>(GetAddress(i)));
        Describe(i, description, sizeof description);
        channel.Write(number);
        channel.Write(description);
        channel.Write('\n');
    }
}

} // namespace QV
