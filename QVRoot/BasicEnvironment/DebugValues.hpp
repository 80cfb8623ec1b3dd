/// Debug switches and debug output.
///
/// Debug values are named values in sections, read from the text file that the environment variable
/// `QVROOT_DEBUG_VALUES` names:
///
///     [QVRoot\MemoryManager]
///     memoryManagerType = 1
///     traceMemoryManager = true
///
/// The file is read once, on the first question, into storage of its own; an absent file or key answers the
/// default. Sections and keys are compared without regard to ASCII case. A line that is neither a section, a
/// `key = value` pair, a comment (`;` or `#`) nor blank is skipped and named once on the debug output.
///
/// Threads: all functions may be called from any thread, also before `main`. Errors: none are reported.
/// Allocation: none, neither here nor in the debug output.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

/// The value of a switch: "true", "yes", "on" or a nonzero number is true; "false", "no", "off" or zero is
/// false; anything else answers the default.
QV_EXPORT bool DBGetBool(const char* section, const char* key, bool defaultValue);

/// The value of a number: decimal, or hexadecimal behind "0x"; anything else answers the default.
QV_EXPORT Int32 DBGetLong(const char* section, const char* key, Int32 defaultValue);

/// The value of a text, zero-terminated in the buffer, and its length. A value that is absent or empty, or that
/// has no room, answers the default; a default that has no room is cut.
QV_EXPORT UInt32 DBGetText(const char* section, const char* key, char* buffer, UInt32 size,
                           const char* defaultValue);

/// Writes printf-style text to the debug output: the debugger on Windows, standard error on Linux when the
/// environment variable `QVROOT_DEBUG_OUTPUT` is set or a debug-value file is in use. Text beyond 2047 bytes
/// is cut.
QV_EXPORT void DBPrintf(const char* format, ...) QV_PRINTF_LIKE(1, 2);

/// Receives every text of the debug output instead of the platform; null restores the platform's.
/// Returns the sink that was in place.
using DebugOutputSink = void (*)(const char* text);
QV_EXPORT DebugOutputSink DBSetOutputSink(DebugOutputSink sink) noexcept;

} // namespace QV
