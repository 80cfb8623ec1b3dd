#include <QVRoot/Channel/TransferImpl.hpp>

namespace QV::Impl {

QVErrCode ReadFully(IChannel& ic, char* dest, UInt32 n, UInt32* got)
{
    UInt32 total = 0;
    QVErrCode error = NoError;
    while (total < n && error == NoError) {
        UInt32 count = 0;
        error = ic.ReadBin(dest + total, n - total, &count);
        if (error == NoError && count == 0) {
            error = ErrRead; // neither data nor an error: it would never end
        }
        total += count;
    }
    if (got != nullptr) {
        *got = total;
    }
    return error;
}

QVErrCode WriteFully(OChannel& oc, const char* src, UInt32 n)
{
    UInt32 total = 0;
    while (total < n) {
        UInt32 count = 0;
        const QVErrCode error = oc.WriteBin(src + total, n - total, &count);
        if (error != NoError) {
            return error;
        }
        if (count == 0) {
            return ErrWrite;
        }
        total += count;
    }
    return NoError;
}

} // namespace QV::Impl
