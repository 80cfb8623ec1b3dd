#include <QVRoot/Channel/IBinaryChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

#include <algorithm>

namespace QV {

IBinaryChannel::~IBinaryChannel() = default;

UInt64 IBinaryChannel::SkipSome(UInt64 n)
{
    if (n == 0) {
        return 0;
    }
    if (const USize window = GetWindow()) {
        const USize passed = static_cast<USize>(std::min<UInt64>(n, window));
        at_ += passed;
        return passed;
    }
    return SkipBytes(n);
}

UInt64 IBinaryChannel::SkipBytes(UInt64 n)
{
    char scratch[4096];
    return ReadBytes(scratch, static_cast<UInt32>(std::min<UInt64>(n, sizeof(scratch))), ReadAtLeastOne);
}

UInt32 IBinaryChannel::TakeFromWindow(char* dest, UInt32 n) noexcept
{
    const UInt32 taken = static_cast<UInt32>(std::min<USize>(n, GetWindow()));
    if (taken != 0) {
        std::memcpy(dest, at_, taken);
        at_ += taken;
    }
    return taken;
}

void IBinaryChannel::RefuseArguments(const char* dest)
{
    if (dest == nullptr) {
        QV_THROW(IllegalArgumentException, "the destination is null");
    }
    QV_THROW(IllegalArgumentException, "the number of bytes to read is 0");
}

} // namespace QV
