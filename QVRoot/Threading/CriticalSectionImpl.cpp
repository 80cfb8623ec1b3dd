#include <QVRoot/Threading/CriticalSectionImpl.hpp>

namespace QV::Impl {

CriticalSection& GetSingletonLock() noexcept
{
    static constinit CriticalSection lock;
    return lock;
}

} // namespace QV::Impl
