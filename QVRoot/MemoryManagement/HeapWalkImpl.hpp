/// The walk over the blocks of the runtime library's heap.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

struct HeapBlock {
    const void* address;
    USize size;
    bool inUse;
};

/// How a walk has ended.
enum class HeapStatus { End, Empty, BadPointer, BadStart, BadNode, Unknown };

/// Calls `visit` for every block. It should not allocate: that changes what is being walked. Where the
/// runtime has no such walk there is no block, and the status is `End`.
HeapStatus WalkHeap(void (*visit)(const HeapBlock& block, void* context), void* context);

} // namespace QV::Impl
