/// The log of a program in files: `logger` writes to it while it is started.
///
///     LogFile log;
///     LogFileSettings settings;
///     settings.program = u"Editor";
///     if (const QVErrCode error = log.Start(settings)) …   // the program works without as well
///     QV_LOG(Info, documents, "opened {path}", path);
///     log.Stop();                                          // or its destructor
///
/// The current file is NAME.qvlog, older ones are NAME.1.qvlog, the last one before it, to NAME.N.qvlog. A
/// new file is begun at each start, when the current one has reached its size, and when `Rotate` asks for it.
/// Each can be read alone. Beside them lies NAME.lock: as long as a process logs under the name, others get
/// NAME-2, NAME-3 and so on. docs/formats.md describes the content.
///
/// Lines reach the system after the flush interval, when the buffer of 64 KiB is full, and at once from a
/// level on. What the system has got survives a crash of the program at any moment. When the disk is full,
/// lines are dropped and counted; logging goes on once there is room. When files cannot be renamed, the
/// current one grows on. A process that was forked off must not log.
///
/// Threads: `Rotate` and `Flush` any, the others one at a time. Errors: codes. Allocation: a buffer, names, a
/// thread that flushes, and what the logger needs.
#pragma once

#include <Host/LogFileChannel.hpp>
#include <QVRoot/Logging/LogBlockControl.hpp>
#include <QVRoot/Threading/Semaphore.hpp>
#include <QVRoot/Threading/Thread.hpp>

#include <optional>

namespace QV::Host {

struct LogFileSettings {
    /// Names the folder, and the program within the log.
    UniString program;
    /// The file's name without extension; empty: as the program.
    UniString name;
    /// Where the files are. Empty: below the folder that the system has for this, $XDG_STATE_HOME/PROGRAM or
    /// ~/.local/state/PROGRAM, %LOCALAPPDATA%\\PROGRAM\\Logs. The debug value "folder" in "QVRoot\Logging"
    /// goes before both. Folders that are missing are made.
    UniString folder;
    UInt64 fileBytes = 16 << 20; ///< a file of this size is ended at its next block; 0: never
    UInt32 olderFiles = 5;       ///< how many are kept beside the current one, 1 to 99
    LogBlockRules block;
    LogClock clock = LogClock::Coarse;
    bool threadNames = true;
    UInt32 flushMilliseconds = 200;        ///< 0: only for other reasons
    LogLevel flushLevel = LogLevel::Error; ///< lines of this level are flushed at once
};

class LogFile {
public:
    LogFile();
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Begins a file and starts `logger` with it. `ErrParam` without a program or with a name that is none,
    /// `ErrFileNotFound` when the system has no folder for such files, the codes of HostErrors.hpp,
    /// `ErrMemoryFull`, `ErrGeneral` for a thread that cannot be started. After an error nothing is started.
    QVErrCode Start(const LogFileSettings& settings);
    /// Stops `logger`, if it still writes here, and completes the file.
    void Stop() noexcept;
    bool IsStarted() const noexcept { return isStarted_; }

    /// Begins a new file. The code tells whether it is in use, see `LogFileChannel::Open`.
    QVErrCode Rotate() noexcept;
    /// Hands all lines to the system.
    QVErrCode Flush() noexcept;

    /// The current file's path; empty before the first start.
    const UniString& GetPath() const noexcept { return path_; }
    /// The system's words for the last failure of `Start`; empty when there are none.
    const UniString& GetErrorText() const noexcept { return errorText_; }

private:
    class Control : public LogBlockControl {
    public:
        Control(LogFile& log, LogBlockRules rules) noexcept : LogBlockControl(rules), log_(log) {}

        bool IsNewBlockDue() override;
        void NewBlockStarting() override;
        void LoggingStopped() override;

    private:
        LogFile& log_;
    };

    QVErrCode Prepare(const LogFileSettings& settings, Impl::SystemError* systemError);
    void Begin(const LogFileSettings& settings);
    Impl::SystemError TakeName(const UniString& name);
    QVErrCode BeginFile(Impl::SystemError* systemError);
    UniString MakePath(UInt32 age) const;
    bool IsFileFull() const noexcept { return channel_.GetSize() >= fileLimit_; }
    void FlushNowAndThen(UInt32 milliseconds) noexcept;

    LogFileChannel channel_;
    std::optional<Control> control_;
    Impl::File lock_;
    UniString stem_; ///< of all files: folder and name
    UniString path_;
    UniString errorText_;
    UInt64 fileBytes_ = 0;
    UInt64 fileLimit_ = 0; ///< when the current file has this size, the next one is tried
    UInt32 olderFiles_ = 1;
    bool isStarted_ = false;
    UInt32 owner_ = 0; ///< the process that started it
    std::atomic<bool> isLogging_ = false;
    std::atomic<QVErrCode> rotation_ = NoError; ///< what became of the last one
    std::atomic<bool> wantsRotation_ = false;
    bool isFlushing_ = false;
    Semaphore end_;
    Thread flusher_;
};

} // namespace QV::Host
