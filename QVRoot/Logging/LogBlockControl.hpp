/// A control that begins a new block when the current one is large or old.
///
///     LogBlockControl control({.bytes = 1 << 20, .seconds = 60});
///     logger.Start(control, channel);
///
/// Threads: called by the logger. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/Logging/FastLogger.hpp>

namespace QV {

/// When a block has ended. Small blocks repeat more, large ones are lost as a whole when they are damaged.
struct LogBlockRules {
    UInt64 bytes = 1 << 20; ///< this large, or one line more; 0: no matter how large
    UInt32 seconds = 0;     ///< a line that so much later; 0: no matter how old
};

class QV_EXPORT LogBlockControl : public FastLogger::Control {
public:
    explicit LogBlockControl(LogBlockRules rules = {}, const FastLogger& of = logger) noexcept;
    ~LogBlockControl() override;

    bool IsNewBlockDue() override;

private:
    const FastLogger& logger_;
    UInt64 bytes_;
    UInt32 seconds_;
};

} // namespace QV
