#include <QVRoot/Logging/Log.hpp>

#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>

namespace QV {

namespace {

constinit LogCategory errorLines("error");
constinit std::atomic<ErrorLog::Sink> formerSink = nullptr;

void LogErrorLine(const char* line, const char* category1, const char* category2)
{
    if (logger.IsStarted()) {
        QV_LOG(Error, errorLines, "[{category}/{subcategory}] {text}", LogRepeated(category1),
               LogRepeated(category2), line);
        return;
    }
    if (const ErrorLog::Sink sink = formerSink.load(std::memory_order_acquire)) {
        sink(line, category1, category2);
    } else {
        DBPrintf("[%s/%s] %s\n", category1, category2, line);
    }
}

} // namespace

void LogErrorLines(bool on) noexcept
{
    if (on) {
        const ErrorLog::Sink former = ErrorLog::SetSink(LogErrorLine);
        if (former != LogErrorLine) {
            formerSink.store(former, std::memory_order_release);
        }
    } else {
        ErrorLog::SetSink(formerSink.exchange(nullptr, std::memory_order_acq_rel));
    }
}

void LogEntry::Write() noexcept
{
    logger.Append(composer_);
}

} // namespace QV
