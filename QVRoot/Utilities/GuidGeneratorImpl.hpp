/// Where random identifiers come from: the seam below `Guid::Generate`.
#pragma once

#include <QVRoot/Utilities/Guid.hpp>

namespace QV::Impl {

/// A random identifier of version 4. False, and the value as it was, where the system has none to give.
///
/// Threads: any. The two processes after a fork go on with different identifiers.
bool GenerateRandomGuid(Guid& value) noexcept;

/// Has a function called in the child after every fork, where the process has only one thread left.
void CallAfterFork(void (*function)()) noexcept;

} // namespace QV::Impl
