/// The runtime library's heap, as far as the platforms differ.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl::SystemHeap {

/// The usable size of a block of `malloc`.
USize GetBlockSize(void* block) noexcept;

/// Whether the runtime's own check finds the heap in order.
bool Check() noexcept;

/// Whether the operating system's full page heap is switched on for this program. Asked once per process.
bool IsPageHeapEnabled() noexcept;

} // namespace QV::Impl::SystemHeap
