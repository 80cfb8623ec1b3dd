#include <QVRoot/MemoryManagement/Core/BackEndChoiceImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Protected/ProtectedHeapImpl.hpp>
#include <QVRoot/MemoryManagement/Core/ProtectedAllocation.hpp>

namespace QV {

bool ProtectedAllocation::IsEnabled() noexcept
{
    return Impl::IsProtectedAllocationEnabled();
}

bool ProtectedAllocation::Describe(const void* address, char* text, USize size) noexcept
{
    return Impl::GetProcessProtectedHeap().Describe(address, text, size);
}

} // namespace QV
