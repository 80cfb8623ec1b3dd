/// The two hooks through which the library tells the application that something went badly wrong: reports
/// for its error-reporting facility, and error lines for its log.
///
/// The host installs a sink for each; the defaults write to the debug output. Sinks are called without any
/// lock of the library held. A report that arises while the same thread is inside a sink is dropped.
///
/// Threads: all functions may be called from any thread. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

/// A pair that names a report's kind for the error-reporting facility.
struct SpecificError {
    const char* id;   ///< the kind's identifier as text
    const char* name; ///< the kind's readable name
};

/// One report, valid only during the call of the sink.
struct ErrorReport {
    const char* text;            ///< what happened, zero-terminated
    UInt32 code;                 ///< numeric report code, 0 when there is none
    const SpecificError* errors; ///< pairs that name the report's kind
    UInt32 errorCount;           ///< how many pairs
};

class QV_EXPORT ErrorReporting {
public:
    using Sink = void (*)(const ErrorReport& report);

    /// Hands a report to the sink.
    static void Report(const char* text, UInt32 code = 0, const SpecificError* errors = nullptr,
                       UInt32 errorCount = 0) noexcept;

    /// Installs the sink; null restores the default. Returns the sink that was in place.
    static Sink SetSink(Sink sink) noexcept;
};

/// A parameter of an error log line: a number or a text.
class ErrorLogParameter {
public:
    ErrorLogParameter(const char* text) noexcept : text_(text) {}
    ErrorLogParameter(UInt64 number) noexcept : number_(number) {}
    ErrorLogParameter(Int64 number) noexcept : number_(static_cast<UInt64>(number)), signed_(true) {}
    ErrorLogParameter(UInt32 number) noexcept : number_(number) {}
    ErrorLogParameter(Int32 number) noexcept : ErrorLogParameter(static_cast<Int64>(number)) {}

    const char* GetText() const noexcept { return text_; }
    UInt64 GetNumber() const noexcept { return number_; }
    bool IsSigned() const noexcept { return signed_; }

private:
    const char* text_ = nullptr;
    UInt64 number_ = 0;
    bool signed_ = false;
};

class QV_EXPORT ErrorLog {
public:
    /// Receives each finished line together with its two category words.
    using Sink = void (*)(const char* line, const char* category1, const char* category2);

    /// Writes a line: each `%` of the format stands for the next parameter. Lines are cut at 1023 bytes.
    template <class... Parameters>
    static void WriteLine(const char* format, const char* category1, const char* category2,
                          const Parameters&... parameters) noexcept
    {
        const ErrorLogParameter list[] = {ErrorLogParameter(parameters)..., ErrorLogParameter("")};
        WriteLineImp(format, category1, category2, list, sizeof...(parameters));
    }

    /// Installs the sink; null restores the default. Returns the sink that was in place.
    static Sink SetSink(Sink sink) noexcept;

private:
    static void WriteLineImp(const char* format, const char* category1, const char* category2,
                             const ErrorLogParameter* parameters, UInt32 count) noexcept;
};

} // namespace QV
