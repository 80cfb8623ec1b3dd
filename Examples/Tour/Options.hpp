/// The command line.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/CharCode.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/Threading/ThreadPool.hpp>

namespace Tour {

/// A file or folder, and the code page of what has no byte-order mark.
struct Input {
    QV::UniString path;
    QV::QVCharCode code = QV::UTF8CharCode;
};

struct Options {
    QV::Array<Input> inputs;
    QV::UniString archive; ///< where to keep the archive; empty: nowhere
    QV::UniString verify;  ///< an archive to read instead of everything else
    QV::UniString log;     ///< the folder of the log; empty: none
    QV::UniString results; ///< where to leave the measurements for the process that compares them
    QV::UInt32 passes = 5; ///< how often each stage runs
    QV::UInt32 threads = QV::ThreadPool::GetProcessorCount();
    bool here = false; ///< measure this process alone
    bool help = false;
};

/// What is wrong with the command line.
struct UsageError {
    QV::UniString what;
};

extern const char* const usageText;

/// Throws `UsageError`.
Options ParseOptions(const QV::Array<QV::UniString>& arguments);

} // namespace Tour
