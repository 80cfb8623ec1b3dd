#include <Host/IFileChannel.hpp>

#include <algorithm>

namespace QV::Host {

QVErrCode IFileChannel::Open(const UniString& path)
{
    Close();
    const Impl::SystemError error = file_.OpenForReading(path);
    if (error != 0) {
        errorText_ = Impl::DescribeError(error);
    }
    return Impl::CodeForOpening(error);
}

void IFileChannel::Close() noexcept
{
    file_.Close();
    errorText_.Clear();
    Restart();
}

QVErrCode IFileChannel::ReadSource(char* dest, UInt32 n, UInt32* got)
{
    if (!IsOpen()) {
        return ErrNotOpen;
    }
    const Impl::SystemError error = file_.Read(dest, n, got);
    if (error != 0) {
        errorText_ = Impl::DescribeError(error);
        return ErrRead;
    }
    return NoError;
}

QVErrCode IFileChannel::SkipSource(UInt64 n, UInt64* skipped)
{
    UInt64 rest = 0;
    if (const QVErrCode error = GetSourceAvailable(&rest)) {
        return error; // then it is read
    }
    const UInt64 count = std::min(n, rest);
    if (file_.SeekBy(static_cast<Int64>(count)) != 0) {
        return ErrGeneral;
    }
    *skipped = count;
    return NoError;
}

QVErrCode IFileChannel::GetSourceAvailable(UInt64* n) const
{
    return IsOpen() && file_.GetRest(n) == 0 ? NoError : ErrGeneral;
}

} // namespace QV::Host
