/// The codes that the host's channels answer beside the library's own.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>

namespace QV::Host {

enum HostErrorCodes {
    ErrFileNotFound = -8001, ///< there is no such file or folder
    ErrFileAccess = -8002,   ///< the system denies access
    ErrFileOpen = -8003,     ///< the file cannot be opened for another reason; the channel's text says which
    ErrNotOpen = -8004,      ///< the channel has no file
};

} // namespace QV::Host
