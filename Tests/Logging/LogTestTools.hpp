// What the tests of the log share: a channel that keeps what it gets, a control that can be asked for blocks.
#pragma once

#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Logging/FastLogger.hpp>
#include <Tests/Logging/LogReader.hpp>

#include <functional>
#include <string>

namespace QV::Test {

class LogChannel : public OMemChannel {
public:
    QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override
    {
        if (onWrite) {
            onWrite();
        }
        *written = 0;
        if (failure != NoError) {
            return failure;
        }
        bytes.append(src, n);
        *written = n;
        return NoError;
    }
    QVErrCode Flush() override
    {
        ++flushes;
        return failure;
    }
    QVErrCode GetOutputStatus() const override { return failure; }

    LogRead Read() const { return LogReader::Read(bytes); }

    std::string bytes;
    std::function<void()> onWrite;
    QVErrCode failure = NoError;
    int flushes = 0;
};

class LogTestControl : public FastLogger::Control {
public:
    void LoggingStarted() override { calls += "started "; }
    bool IsNewBlockDue() override { return isDue && isDue(); }
    void NewBlockStarting() override { calls += "block "; }
    void LoggingStopped() override { calls += "stopped "; }

    std::string calls;
    std::function<bool()> isDue;
};

// A logger of the test's own that is started.
struct TestLog {
    TestLog() { log.Start(control, channel); }
    ~TestLog() { log.Stop(); }

    // Logs a line with one compressed string.
    void AddString(EventLogLine& line, std::string_view text)
    {
        FastLogger::LogComposer composer(line);
        composer.AddString(text.data(), static_cast<UInt32>(text.size()));
        log.Append(composer);
    }

    LogChannel channel;
    LogTestControl control;
    FastLogger log;
};

} // namespace QV::Test
