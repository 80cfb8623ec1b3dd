/// What can be asked of the pooled heap beyond the back end's functions.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl::Pooled {

struct HeapStatistics {
    USize addressBytes;      ///< address space of the segments
    USize spanBytes;         ///< in spans, whether their blocks are in use or not
    USize largeBytes;        ///< in large blocks in use
    USize residentFreeBytes; ///< kept for reuse: free pages and large reservations with memory behind them
    USize metadataBytes;     ///< for threads' caches and their like
};

HeapStatistics GetHeapStatistics() noexcept;

/// Gives back what can be given back: the calling thread's cache, what the central lists hold, all free
/// pages.
void ReleaseFreeMemory() noexcept;

} // namespace QV::Impl::Pooled
