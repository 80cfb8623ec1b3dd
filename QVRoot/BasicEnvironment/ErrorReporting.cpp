#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/BasicEnvironment/ErrorReporting.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <atomic>
#include <cstdio>
#include <cstring>

namespace QV {

namespace {

constinit std::atomic<ErrorReporting::Sink> reportSink = nullptr;
constinit std::atomic<ErrorLog::Sink> logSink = nullptr;

/// Marks the thread that is inside a sink: what a sink itself runs into is dropped, or it would never end.
constinit Impl::ThreadSlot insideSink;

template <class Action>
void RunGuarded(Action action) noexcept
{
    if (insideSink.Get() != nullptr) {
        return;
    }
    insideSink.Set(&insideSink);
    try {
        action();
    } catch (...) {
        // Reporting must not become a failure of its own.
    }
    insideSink.Set(nullptr);
}

void WriteReport(const ErrorReport& report)
{
    DBPrintf("%s\n", report.text);
}

void WriteLogLine(const char* line, const char* category1, const char* category2)
{
    DBPrintf("[%s/%s] %s\n", category1, category2, line);
}

/// Formats into storage of fixed size.
class LineBuffer {
public:
    void Add(char c) noexcept
    {
        if (length_ + 1 < sizeof(text_)) {
            text_[length_++] = c;
        }
    }

    void Add(const ErrorLogParameter& parameter) noexcept
    {
        if (parameter.GetText() != nullptr) {
            for (const char* c = parameter.GetText(); *c != '\0'; ++c) {
                Add(*c);
            }
            return;
        }
        UInt64 number = parameter.GetNumber();
        if (parameter.IsSigned() && static_cast<Int64>(number) < 0) {
            Add('-');
            number = 0 - number;
        }
        char digits[20];
        int count = 0;
        do {
            digits[count++] = static_cast<char>('0' + number % 10);
            number /= 10;
        } while (number != 0);
        while (count != 0) {
            Add(digits[--count]);
        }
    }

    const char* GetText() noexcept
    {
        text_[length_] = '\0';
        return text_;
    }

private:
    char text_[1024];
    USize length_ = 0;
};

} // namespace

void ErrorReporting::Report(const char* text, UInt32 code, const SpecificError* errors,
                            UInt32 errorCount) noexcept
{
    RunGuarded([&] {
        const Sink sink = reportSink.load(std::memory_order_acquire);
        const ErrorReport report = {text, code, errors, errorCount};
        (sink != nullptr ? sink : WriteReport)(report);
    });
}

ErrorReporting::Sink ErrorReporting::SetSink(Sink sink) noexcept
{
    return reportSink.exchange(sink, std::memory_order_acq_rel);
}

void ErrorLog::WriteLineImp(const char* format, const char* category1, const char* category2,
                            const ErrorLogParameter* parameters, UInt32 count) noexcept
{
    RunGuarded([&] {
        LineBuffer line;
        UInt32 used = 0;
        for (const char* c = format; *c != '\0'; ++c) {
            if (*c == '%' && used < count) {
                line.Add(parameters[used++]);
            } else {
                line.Add(*c);
            }
        }
        const Sink sink = logSink.load(std::memory_order_acquire);
        (sink != nullptr ? sink : WriteLogLine)(line.GetText(), category1, category2);
    });
}

ErrorLog::Sink ErrorLog::SetSink(Sink sink) noexcept
{
    return logSink.exchange(sink, std::memory_order_acq_rel);
}

} // namespace QV
