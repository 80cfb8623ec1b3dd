/// What the tour logs, and where.
#pragma once

#include <Host/LogFile.hpp>
#include <QVRoot/Logging/Log.hpp>

namespace Tour {

extern QV::LogCategory stageLog; ///< the stages and what they took
extern QV::LogCategory fileLog;  ///< each file

/// Logs the whole run to files in a folder, for which nothing is started when it is empty. A process that the
/// tour starts writes to files of its own.
class TourLog {
public:
    /// Throws `TourError`.
    explicit TourLog(const QV::UniString& folder);

private:
    QV::Host::LogFile log_;
};

} // namespace Tour
