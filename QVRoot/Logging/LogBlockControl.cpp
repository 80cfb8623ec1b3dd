#include <QVRoot/Logging/LogBlockControl.hpp>

namespace QV {

LogBlockControl::LogBlockControl(LogBlockRules rules, const FastLogger& of) noexcept
    : logger_(of), bytes_(rules.bytes != 0 ? rules.bytes : ~UInt64{0}),
      seconds_(rules.seconds != 0 ? rules.seconds : ~UInt32{0})
{
}

LogBlockControl::~LogBlockControl() = default;

bool LogBlockControl::IsNewBlockDue()
{
    return logger_.GetBlockSize() >= bytes_ || logger_.GetBlockAge() >= seconds_;
}

} // namespace QV
