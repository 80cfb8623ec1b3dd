/// The choice of the back end, made once per process.
#pragma once

#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>

namespace QV::Impl {

/// The chosen back end; the first call chooses. Allocates nothing.
const BackEnd& GetBackEnd() noexcept;

/// Whether the guarded allocator is in use.
bool IsProtectedAllocationEnabled() noexcept;

/// Throws `OutOfMemoryException` with "Allocation Failure" without allocating through the memory manager.
[[noreturn]] void ThrowAllocationFailure();

} // namespace QV::Impl
