#include <QVRoot/Channel/IBinaryChannelUtilities.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

#include <algorithm>

namespace QV::IBinaryChannelUtilities {

UInt64 Skip(IBinaryChannel& channel, UInt64 n)
{
    UInt64 passed = 0;
    while (passed < n) {
        const UInt64 step = channel.SkipSome(n - passed);
        if (step == 0) {
            break;
        }
        passed += step;
    }
    return passed;
}

UInt64 ReadUpTo(IBinaryChannel& channel, char* dest, UInt64 n)
{
    constexpr UInt64 mostAtOnce = 0x40000000;
    UInt64 total = 0;
    while (total < n) {
        const UInt32 got =
            channel.Read(dest + total, static_cast<UInt32>(std::min(n - total, mostAtOnce)), ReadAll);
        if (got == 0) {
            break;
        }
        total += got;
    }
    return total;
}

void ReadExactly(IBinaryChannel& channel, char* dest, UInt64 n)
{
    if (ReadUpTo(channel, dest, n) != n) {
        QV_THROW(EndOfInputException, "the input ends inside a value");
    }
}

UInt64 Copy(IBinaryChannel& in, OBinaryChannel& out, UInt64 n)
{
    char buffer[4096];
    UInt64 total = 0;
    while (total < n) {
        const UInt32 wanted = static_cast<UInt32>(std::min<UInt64>(n - total, sizeof(buffer)));
        const UInt32 got = in.Read(buffer, wanted, ReadAtLeastOne);
        if (got == 0) {
            break;
        }
        out.Write(buffer, got);
        total += got;
    }
    return total;
}

} // namespace QV::IBinaryChannelUtilities
