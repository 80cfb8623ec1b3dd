/// Whether the calling thread is certainly the only one of the process: then counters need no bus lock.
#pragma once

#include <sys/single_threaded.h>

namespace QV::Impl {

inline bool IsProcessSingleThreaded() noexcept
{
    return __libc_single_threaded != 0;
}

} // namespace QV::Impl
