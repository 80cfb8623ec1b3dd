/// How the pooled heap says that a block is not what it should be.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl::Pooled {

enum class BlockFault {
    NoBlock, ///< its memory is not touched
    FreedTwice,
    DamagedHeader,
    DamagedWhileFree,
};

/// Names the fault, the block and what its words hold, and ends the process.
[[noreturn]] void ReportDamagedBlock(const void* block, BlockFault fault) noexcept;

} // namespace QV::Impl::Pooled
