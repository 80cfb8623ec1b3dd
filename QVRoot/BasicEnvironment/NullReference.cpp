#include <QVRoot/BasicEnvironment/NullReferenceImpl.hpp>

namespace QV::Impl {

bool IsNullReference(const volatile void* address) noexcept
{
    const volatile void* volatile laundered = address;
    return laundered == nullptr;
}

} // namespace QV::Impl
