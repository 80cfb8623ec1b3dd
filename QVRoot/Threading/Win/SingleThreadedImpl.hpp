/// Whether the calling thread is certainly the only one of the process. This platform does not tell.
#pragma once

namespace QV::Impl {

inline bool IsProcessSingleThreaded() noexcept
{
    return false;
}

} // namespace QV::Impl
