#include "TourLog.hpp"

#include "TourError.hpp"

namespace Tour {

using namespace QV;

constinit LogCategory stageLog("tour.stages", LogLevel::Debug);
constinit LogCategory fileLog("tour.files", LogLevel::Debug);

TourLog::TourLog(const UniString& folder)
{
    if (folder.IsEmpty()) {
        return;
    }
    Host::LogFileSettings settings;
    settings.program = "Tour";
    settings.folder = folder;
    settings.olderFiles = 99;
    settings.clock = LogClock::Precise;
    if (log_.Start(settings) != NoError) {
        throw TourError(folder, log_.GetErrorText());
    }
    LogErrorLines(true);
}

} // namespace Tour
