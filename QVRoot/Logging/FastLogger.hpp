/// The event log: lines with typed parameters as a compact stream of bytes. docs/formats.md describes the
/// bytes, Log.hpp has the macros to log with.
///
///     LogBlockControl control;
///     OMemChannel out;
///     logger.Start(control, out);
///     QV_LOG(Info, documents, "{user} opened {count} files", name, 3);
///     logger.Stop();
///
/// The stream consists of blocks. Within a block, threads, descriptions of lines, and strings and identifiers
/// that are marked for it are sent once and then as one byte each. A block can be read without those before
/// it; the control says when the next one is due.
///
/// What is logged from within the logger, that is by the channel, by the control or by the memory manager
/// while the same thread is inside, is dropped. The channel gets whole records only, one write for each line.
/// When it fails, lines are dropped until its status is 0 again; then a new block begins.
///
/// Threads: any; one lock orders the lines. A thread that is interrupted while it waits for the lock logs its
/// line and keeps the interrupt. Errors: logging has none; `Start` throws `OutOfMemoryException`. Allocation:
/// about 80 KiB when the logger is started for the first time; the tables of repeated values grow with the
/// block.
#pragma once

#include <QVRoot/Logging/EventLogLine.hpp>
#include <QVRoot/Utilities/Guid.hpp>

#include <atomic>
#include <cstring>

namespace QV {

class ErrorStatus;
class OChannel;

namespace Impl {
struct LogState;
}

/// How fine the times of lines are, beyond full seconds.
enum class LogClock : UInt8 {
    Seconds, ///< nothing more
    Coarse,  ///< as the system's clock ticks, every 4 to 16 ms: free, as good as
    Precise, ///< microseconds: 5 bytes a line, and the price of asking the precise clock
};

/// What became of the lines since the start.
struct LogCounts {
    UInt64 lines = 0;   ///< written, without data lines and the logger's own
    UInt64 dropped = 0; ///< lost
};

class QV_EXPORT FastLogger {
public:
    class Control;
    class LogComposer;

    constexpr FastLogger() noexcept = default;
    ~FastLogger();
    FastLogger(const FastLogger&) = delete;
    FastLogger& operator=(const FastLogger&) = delete;

    /// Begins to log with a first block. Both must live until `Stop` has returned. A log that is running is
    /// stopped first. From within the logger this does nothing, nor does `Stop`.
    void Start(Control& control, OChannel& channel);
    /// Flushes the channel and ends. Lines that other threads are about to log then are lost.
    void Stop() noexcept;
    bool IsStarted() const noexcept { return isStarted_.load(std::memory_order_relaxed); }

    /// Flushes the channel and answers its result; `NoError` while there is nothing to flush, `ErrGeneral`
    /// from within the logger.
    Int32 Flush() noexcept;
    /// Begins a new block. Does nothing while the logger is not started, and from within the logger.
    void StartNewBlock() noexcept;

    /// Writes a line: the pointer to its `EventLogLine`, then the values of its parameters, packed. Integers,
    /// real numbers, characters and times are as in memory; a `Guid` is 16 bytes; a string is its length as
    /// `UInt16`, its hash as `UInt64` or 0, and its characters. Lines of the same form may follow up to
    /// `length`; they are logged as its data lines. What does not have this form is dropped.
    void LogComposed(char* buffer, UInt32 length) noexcept;

    /// Write a line without parameters, and one with those that were composed.
    void Append(EventLogLine& line) noexcept;
    void Append(EventLogLine& line, LogComposer* composer) noexcept;
    /// Writes what was composed.
    void Append(LogComposer& composer) noexcept;

    /// Write the logger's own lines that frame a log: who logs, and what became of the lines.
    void AppendStarted(const char* program) noexcept;
    void AppendStopped() noexcept;

    /// How the time within a second is sent; at first it is not. Applies from the next line on.
    void SetClock(LogClock clock) noexcept { clock_.store(clock, std::memory_order_relaxed); }
    /// Whether the names of the library's threads are sent; at first they are not.
    void SetThreadNames(bool on) noexcept { sendsThreadNames_.store(on, std::memory_order_relaxed); }

    /// Lines of at least this level, `Warning` to `Fatal`, flush the channel; `Off`, as at first: none does.
    void SetFlushLevel(LogLevel level) noexcept { flushLevel_.store(level, std::memory_order_relaxed); }

    LogCounts GetCounts() noexcept;

    /// @name For the control, from within the logger
    /// @{
    /// Bytes of the block, and the seconds since it began as of its last line.
    UInt64 GetBlockSize() const noexcept;
    UInt32 GetBlockAge() const noexcept;
    /// @}

private:
    friend class LogComposer;
    class Entry;

    static void InitLoggingParameters() noexcept;
    static UInt64 GenerateStringHashValue(const char* text, UInt32 length) noexcept;

    void StopImp(Impl::LogState& state) noexcept;
    bool StartNewBlockImp(Impl::LogState& state);
    void Log(Impl::LogState& state, char* buffer, UInt32 length) noexcept;
    bool LogInside(Impl::LogState& state, char* buffer, UInt32 length) noexcept;
    bool Recover(Impl::LogState& state);
    bool MustFlush(const char* buffer) const noexcept;
    bool WriteLines(Impl::LogState& state, char* buffer, UInt32 length);
    char* WriteTimeAndThread(Impl::LogState& state, char* at);

    // Each takes where the next byte goes and answers the place behind what it wrote, or null.
    static char* WriteThreadChange(Impl::LogState& state, char* at, UInt64 threadId);
    static char* WriteThreadName(Impl::LogState& state, char* at, UInt64 threadId);
    static char* WriteTimeChange(char* at, Int32 time);
    static char* WriteTimeMark(Impl::LogState& state, char* at, UInt32 microseconds);
    static char* WriteEventLogLine(Impl::LogState& state, char* at, const char* buffer, UInt32 length,
                                   UInt32* offset);
    static char* WriteDataLogLine(Impl::LogState& state, char* at, const char* buffer, UInt32 length,
                                  UInt32* offset);
    static char* WriteDescriptor(Impl::LogState& state, char* at, const EventLogLine& line);
    static char* WriteParameters(Impl::LogState& state, char* at, const EventLogLine& line,
                                 const char* buffer, UInt32 length, UInt32* offset);
    static char* WriteString(Impl::LogState& state, char* at, bool compress, const char* value, UInt32 rest,
                             UInt32* used);
    static char* WriteId(Impl::LogState& state, char* at, bool compress, const char* value);

    static void CompressThreadId(Impl::LogState& state, UInt64 id, UInt8* code);
    static void CompressLogLine(Impl::LogState& state, UInt16 lineId, UInt8* code);
    static void CompressLogLineId(Impl::LogState& state, UInt16 lineId, UInt8* code);
    static void CompressStringHashValue(Impl::LogState& state, UInt64 hash, UInt32* id, UInt8* code);
    static void CompressId(Impl::LogState& state, const Guid& value, UInt32* id, UInt8* code);
    static void CompressCompressionCode(Impl::LogState& state, UInt32 id, UInt8* code);

    /// Whether data lines are written; the debug value "logDataLines" in "QVRoot\Logging", by default true.
    static std::atomic<bool> logDataLines;

    std::atomic<Impl::LogState*> state_ = nullptr;
    std::atomic<bool> isStarted_ = false;
    std::atomic<LogClock> clock_ = LogClock::Seconds;
    std::atomic<bool> sendsThreadNames_ = false;
    std::atomic<LogLevel> flushLevel_ = LogLevel::Off;
};

/// Decides about blocks. All but the destructor is called from within the logger, one call at a time; what
/// it throws counts as a failed write.
class QV_EXPORT FastLogger::Control {
public:
    virtual ~Control();
    /// The logger has got its channel; the first block begins next.
    virtual void LoggingStarted();
    /// Asked after each line.
    virtual bool IsNewBlockDue() = 0;
    /// The next write to the channel is a block's header.
    virtual void NewBlockStarting();
    /// The channel has been flushed and is not used any more.
    virtual void LoggingStopped();

protected:
    Control() = default;
    Control(const Control&) = default;
    Control& operator=(const Control&) = default;
};

/// Collects the values of a line's parameters. They must be added in the order and with the types that the
/// line declares. The first 512 bytes need no allocation; a line that finds no memory for more is dropped.
class QV_EXPORT FastLogger::LogComposer {
public:
    /// Has no line yet.
    LogComposer() noexcept : at_(inline_), end_(inline_ + sizeof(inline_)) {}
    explicit LogComposer(const EventLogLine& line) noexcept : LogComposer() { AddLine(line); }
    ~LogComposer()
    {
        if (begin_ != inline_) [[unlikely]] {
            FreeBuffer();
        }
    }
    LogComposer(const LogComposer&) = delete;
    LogComposer& operator=(const LogComposer&) = delete;

    /// Begins the line, or behind its parameters a data line.
    void AddLine(const EventLogLine& line) noexcept { AddRaw(&line); }

    void Add(Int16 value) noexcept { AddRaw(value); }
    void Add(UInt16 value) noexcept { AddRaw(value); }
    void Add(Int32 value) noexcept { AddRaw(value); }
    void Add(UInt32 value) noexcept { AddRaw(value); }
    void Add(Int64 value) noexcept { AddRaw(value); }
    void Add(UInt64 value) noexcept { AddRaw(value); }
    void Add(float value) noexcept { AddRaw(value); }
    void Add(double value) noexcept { AddRaw(value); }
    void Add(char value) noexcept { AddRaw(value); }
    /// Bytes beyond 65535 are cut. Null is the empty string.
    void AddString(const char* text, UInt32 length) noexcept { AddHashedString(text, length, 0); }
    /// The same for a parameter that is compressed: spares the logger to compute the hash in its lock.
    void AddRepeatedString(const char* text, UInt32 length) noexcept;
    /// UTF-16, which is logged as UTF-8; what is no text becomes U+FFFD.
    void AddString(const unsigned short* text, UInt32 length, bool isRepeated = false) noexcept;
    void AddId(const Guid& id) noexcept { AddRaw(id); }
    void AddDate(Int32 time) noexcept { AddRaw(time); }
    void AddTime(Int32 time) noexcept { AddRaw(time); }

    /// What was composed; empty when it found no memory.
    char* GetBuffer() noexcept { return begin_; }
    UInt32 GetLength() const noexcept { return hasFailed_ ? 0 : static_cast<UInt32>(at_ - begin_); }

private:
    friend class FastLogger;

    template <class T>
    void AddRaw(const T& value) noexcept
    {
        if (static_cast<USize>(end_ - at_) < sizeof(T) && !Grow(sizeof(T))) [[unlikely]] {
            return;
        }
        std::memcpy(at_, &value, sizeof(T));
        at_ += sizeof(T);
    }

    void AddHashedString(const char* text, UInt32 length, UInt64 hash) noexcept
    {
        length = text == nullptr ? 0 : length < 0xFFFF ? length : 0xFFFF;
        constexpr USize head = sizeof(UInt16) + sizeof(UInt64);
        if (static_cast<USize>(end_ - at_) < head + length && !Grow(head + length)) [[unlikely]] {
            return;
        }
        const auto shortLength = static_cast<UInt16>(length);
        std::memcpy(at_, &shortLength, sizeof(shortLength));
        std::memcpy(at_ + sizeof(shortLength), &hash, sizeof(hash));
        if (length != 0) {
            std::memcpy(at_ + head, text, length);
        }
        at_ += head + length;
    }

    void FreeBuffer() noexcept;
    bool Grow(USize n) noexcept;

    char* begin_ = inline_;
    char* at_;
    char* end_;
    bool hasFailed_ = false;
    char inline_[512];
};

/// A log-line subject that is a status: its code as `Int32`, its message as string.
QV_EXPORT void LogAssertSubject(FastLogger::LogComposer& composer, const ErrorStatus& status) noexcept;

/// The process-wide logger. Usable before any static constructor and until the process is gone.
QV_EXPORT extern constinit FastLogger logger;

} // namespace QV
