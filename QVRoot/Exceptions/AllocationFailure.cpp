#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/BackEndChoiceImpl.hpp>
#include <QVRoot/String/UniStringBufferImpl.hpp>

namespace QV::Impl {

namespace {

/// Kept ready: when memory is out, a message could not be made any more.
constinit StaticUniString message(u"Allocation Failure");

} // namespace

void ThrowAllocationFailure()
{
    throw OutOfMemoryException(message.Share(), "MemoryManagement/Core/MemoryManager", 134);
}

} // namespace QV::Impl
