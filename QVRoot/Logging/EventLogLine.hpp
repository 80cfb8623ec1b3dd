/// What the event log knows of a line before it is logged: its text, its parameters' types and where it
/// stands in the source. One constant object per line; see Log.hpp for the macros that make them.
///
///     const LogParameter parameters[] = {{LogType::String, 1}, {LogType::Int32, 0}};
///     EventLogLine opened = {258, 42, parameters, 2, "{user} opened {count} files", "Editor/Open.cpp",
///     nullptr};
///
/// Threads: a constant. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

/// A parameter's type, with its name in the log and its size there. Other numbers have no name and no value.
namespace LogType {
enum : QV::UInt32 {
    Int16 = 0,  ///< "I16", 2 bytes
    UInt16 = 1, ///< "UI16", 2
    Int32 = 2,  ///< "I32", 4
    UInt32 = 3, ///< "UI32", 4
    Int64 = 4,  ///< "I64", 8
    UInt64 = 5, ///< "UI64", 8
    Float = 6,  ///< "F", 4
    Double = 7, ///< "D", 8
    Char = 8,   ///< "C", 1
    String = 9, ///< "S", length and characters
    Id = 10,    ///< "Id", a `Guid`, 16
    Date = 11,  ///< "Dt", 4: a library time of which the date is meant
    Time = 12,  ///< "T", 4: a library time
    Count = 13,
};
}

struct LogParameter {
    UInt32 type;
    /// 1: a string or identifier that is repeated is sent as one byte. Other types are sent as they are.
    UInt8 compress;
};

/// How much a line weighs. `Data` marks the lines that belong to the one before them.
enum class LogLevel : UInt8 { None, Trace, Debug, Info, Warning, Error, Fatal, Off, Data };

struct EventLogLine {
    /// Tells lines apart within a process. 0 to 0x7FFF are for lines that are numbered by hand.
    UInt16 id = 0;
    /// The line in the source file; 0xFFFF stands for all from there on.
    UInt16 number = 0;
    const LogParameter* params = nullptr;
    UInt16 count = 0;
    const char* format = nullptr;
    const char* site1 = nullptr; ///< the source file, or null
    const char* site2 = nullptr; ///< the function, or null

    /// For the macros' lines: when there is a category, the log has "level|category|function" as its site 2.
    const char* category = nullptr;
    LogLevel level = LogLevel::None;
    /// Bytes of the parameters if all have a fixed size and none is compressed; else `UnknownSize`, which is
    /// always right.
    UInt16 plainSize = UnknownSize;

    static constexpr UInt16 UnknownSize = 0xFFFF;
};

} // namespace QV
