/// Counts of the memory manager's blocks, for leak hunting and budgets.
///
///     const MemoryCounts before = MemoryStatistics::Get();
///     Work();
///     const UInt64 left = MemoryStatistics::Get().liveBlocks - before.liveBlocks;
///
/// Counting costs time and is therefore off unless the debug value "collectStatistics" of the section
/// "QVRoot\MemoryManager" is true when the first block is allocated. It covers the whole process from then
/// on.
///
/// Threads: everything may be called from any thread; counts of other threads' calls in flight may be seen in
/// part. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

/// All numbers since the process began. A reallocation is neither an allocation nor a free, it only moves
/// bytes.
struct MemoryCounts {
    UInt64 allocations; ///< blocks handed out; failed calls do not count
    UInt64 frees;       ///< blocks taken back
    UInt64 liveBlocks;  ///< blocks in use
    UInt64 liveBytes;   ///< their usable sizes, which may exceed what was asked for
    UInt64 peakBytes;   ///< the most that `liveBytes` has ever been
};

class QV_EXPORT MemoryStatistics {
public:
    /// Whether the memory manager counts. Chooses its back end when nobody has allocated yet.
    static bool IsEnabled() noexcept;

    /// The counts; all 0 when counting is off.
    static MemoryCounts Get() noexcept;
};

} // namespace QV
