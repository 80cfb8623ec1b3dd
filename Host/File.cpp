#include <Host/FileImpl.hpp>
#include <Host/HostErrors.hpp>

namespace QV::Host::Impl {

QVErrCode CodeForOpening(SystemError error) noexcept
{
    if (error == 0) {
        return NoError;
    }
    if (MeansNotFound(error)) {
        return ErrFileNotFound;
    }
    return MeansAccessDenied(error) ? ErrFileAccess : ErrFileOpen;
}

QVErrCode CodeForWriting(SystemError error) noexcept
{
    if (error == 0) {
        return NoError;
    }
    return MeansDiskFull(error) ? ErrOutputFull : ErrWrite;
}

} // namespace QV::Host::Impl
