#include <QVRoot/Logging/FastLogger.hpp>

#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/BasicEnvironment/QVTime.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Logging/LogStateImpl.hpp>
#include <QVRoot/Logging/LogSystemImpl.hpp>

#include <CurrentThreadImpl.hpp>

#include <new>

namespace QV {

using Impl::LogState;
using Impl::Put;

constinit FastLogger logger;

std::atomic<bool> FastLogger::logDataLines = true;

namespace {

constexpr LogParameter startedParameters[] = {{LogType::String, 0}, {LogType::UInt32, 0}};
constexpr EventLogLine startedLine = Impl::MakeOwnLogLine(
    Impl::StartedLine, startedParameters, 2, "{program} started logging in process {process}", "LogStarted");

constexpr LogParameter stoppedParameters[] = {{LogType::UInt64, 0}, {LogType::UInt64, 0}};
constexpr EventLogLine stoppedLine =
    Impl::MakeOwnLogLine(Impl::StoppedLine, stoppedParameters, 2,
                         "logging stopped after {lines} lines, {dropped} dropped", "LogStopped");

/// Seconds that local time is ahead of UTC.
Int32 GetLocalOffset(Int32 time) noexcept
{
    QVTimeRecord record;
    Int32 local = 0;
    if (TIGetTimeRecord(time, &record, 0) != NoError ||
        TIGetQVTime(&record, &local, TITimeInUTC) != NoError) {
        return 0;
    }
    return local - time;
}

const Guid& GetRunId() noexcept
{
    static const Guid id = [] {
        Guid fresh;
        fresh.Generate(); // without one it is null, and the log is as good
        return fresh;
    }();
    return id;
}

bool WriteOut(LogState& state, const char* begin, const char* end)
{
    const auto n = static_cast<UInt32>(end - begin);
    UInt32 written = 0;
    if (state.channel->WriteBin(begin, n, &written) != NoError || written != n) {
        return false;
    }
    state.blockSize += n;
    return true;
}

} // namespace

/// Being inside the logger: with the lock held and the mark set.
class FastLogger::Entry {
public:
    explicit Entry(LogState& state) noexcept : state_(state)
    {
        const UInt32 me = Impl::GetCurrentId();
        // Asked before the lock is touched, since this thread may hold it.
        if (state.inside.load(std::memory_order_relaxed) != me) [[likely]] {
            state.lock.Enter();
            state.inside.store(me, std::memory_order_relaxed);
            isEntered_ = true;
        }
    }
    ~Entry()
    {
        if (isEntered_) {
            state_.inside.store(0, std::memory_order_relaxed);
            state_.lock.Leave();
        }
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

    /// False when the thread was inside already.
    explicit operator bool() const noexcept { return isEntered_; }

private:
    LogState& state_;
    bool isEntered_ = false;
};

FastLogger::~FastLogger()
{
    // At the process's end other threads may still log, or may have been stopped while they held the lock.
    if (this == &logger) {
        return;
    }
    if (LogState* const state = state_.exchange(nullptr)) {
        state->~LogState();
        MemoryManager::Free(state);
    }
}

void FastLogger::InitLoggingParameters() noexcept
{
    logDataLines.store(DBGetBool("QVRoot\\Logging", "logDataLines", true), std::memory_order_relaxed);
}

UInt64 FastLogger::GenerateStringHashValue(const char* text, UInt32 length) noexcept
{
    return Impl::HashLogString(text, length);
}

void FastLogger::Start(Control& control, OChannel& channel)
{
    LogState* state = state_.load(std::memory_order_acquire);
    if (state == nullptr) {
        InitLoggingParameters();
        void* const block = MemoryManager::Allocate(sizeof(LogState), MemoryManager::ThrowOnFailure, true);
        LogState* const made = new (block) LogState;
        if (state_.compare_exchange_strong(state, made, std::memory_order_acq_rel)) {
            state = made;
        } else {
            made->~LogState();
            MemoryManager::Free(made);
        }
    }
    const Entry entry(*state);
    if (!entry) {
        return;
    }
    StopImp(*state);
    state->control = &control;
    state->channel = &channel;
    state->counts = {};
    state->droppedOutside.store(0, std::memory_order_relaxed);
    try {
        control.LoggingStarted();
        state->isBroken = !StartNewBlockImp(*state);
    } catch (...) {
        state->isBroken = true;
    }
    isStarted_.store(true, std::memory_order_release);
}

void FastLogger::Stop() noexcept
{
    if (LogState* const state = state_.load(std::memory_order_acquire)) {
        const Entry entry(*state);
        if (entry) {
            StopImp(*state);
        }
    }
}

void FastLogger::StopImp(LogState& state) noexcept
{
    if (!IsStarted()) {
        return;
    }
    isStarted_.store(false, std::memory_order_relaxed);
    try {
        state.channel->Flush();
        state.control->LoggingStopped();
    } catch (...) {
        // Whatever it is, the log ends here.
    }
    state.channel = nullptr;
    state.control = nullptr;
}

Int32 FastLogger::Flush() noexcept
{
    LogState* const state = state_.load(std::memory_order_acquire);
    if (state == nullptr || !IsStarted()) {
        return NoError;
    }
    const Entry entry(*state);
    if (!entry) {
        return ErrGeneral;
    }
    try {
        return IsStarted() ? state->channel->Flush() : NoError;
    } catch (...) {
        return ErrGeneral;
    }
}

void FastLogger::StartNewBlock() noexcept
{
    LogState* const state = state_.load(std::memory_order_acquire);
    if (state == nullptr || !IsStarted()) {
        return;
    }
    const Entry entry(*state);
    if (!entry || !IsStarted()) {
        return;
    }
    try {
        state->isBroken = !StartNewBlockImp(*state);
    } catch (...) {
        state->isBroken = true;
    }
}

bool FastLogger::StartNewBlockImp(LogState& state)
{
    state.control->NewBlockStarting();
    const Int32 time = TIGetTime();
    char header[29] = {'\xF8', 'W', 'W', 2, 2};
    char* const at = Put(Put(header + 5, GetRunId()), time);
    Put(at, GetLocalOffset(time));
    state.blockSize = 0;
    state.blockTime = time;
    const bool isWritten = WriteOut(state, header, header + sizeof(header));
    state.block.Clear();
    state.hasTime = false;
    state.lastThread = 0;
    return isWritten;
}

void FastLogger::LogComposed(char* buffer, UInt32 length) noexcept
{
    LogState* const state = state_.load(std::memory_order_acquire);
    if (state == nullptr || !IsStarted()) {
        return;
    }
    Log(*state, buffer, length);
}

void FastLogger::Log(LogState& state, char* buffer, UInt32 length) noexcept
{
    const Entry entry(state);
    if (!entry) {
        ++state.counts.dropped;
        return;
    }
    if (!IsStarted()) {
        return;
    }
    const bool isWritten = LogInside(state, buffer, length);
    state.counts.lines += isWritten;
    state.counts.dropped += !isWritten;
}

/// Writes a line, and then what is due. Answers whether the line was written.
bool FastLogger::LogInside(LogState& state, char* buffer, UInt32 length) noexcept
{
    bool isWritten = false;
    try {
        isWritten = WriteLines(state, buffer, length);
        // After a failure the tables may know more than a reader will.
        state.isBroken = !isWritten;
        if (isWritten && MustFlush(buffer)) {
            state.channel->Flush();
        }
        if (isWritten && state.control->IsNewBlockDue()) {
            state.isBroken = !StartNewBlockImp(state);
        }
    } catch (...) {
        state.isBroken = true;
    }
    return isWritten;
}

/// Ends a gap in the stream, if the channel can be written to again: asked once a second.
bool FastLogger::Recover(LogState& state)
{
    if (state.channel->GetOutputStatus() != NoError) {
        const Int32 now = TIGetTime();
        if (now == state.lastAttempt) {
            return false;
        }
        state.lastAttempt = now;
        if (state.channel->Flush() != NoError || state.channel->GetOutputStatus() != NoError) {
            return false;
        }
    }
    return StartNewBlockImp(state);
}

bool FastLogger::MustFlush(const char* buffer) const noexcept
{
    const EventLogLine* line;
    std::memcpy(&line, buffer, sizeof(line));
    return line->level >= flushLevel_.load(std::memory_order_relaxed) && line->level <= LogLevel::Fatal;
}

bool FastLogger::WriteLines(LogState& state, char* buffer, UInt32 length)
{
    if (state.isBroken && !Recover(state)) [[unlikely]] {
        return false;
    }
    char* at = WriteTimeAndThread(state, state.stage.GetBegin());
    UInt32 offset = 0;
    if (at != nullptr) {
        at = WriteEventLogLine(state, at, buffer, length, &offset);
    }
    if (offset < length && logDataLines.load(std::memory_order_relaxed)) {
        while (at != nullptr && offset < length) {
            at = WriteDataLogLine(state, at, buffer, length, &offset);
        }
    }
    return at != nullptr && WriteOut(state, state.stage.GetBegin(), at);
}

void FastLogger::Append(EventLogLine& line) noexcept
{
    const EventLogLine* pointer = &line;
    char buffer[sizeof(pointer)];
    std::memcpy(buffer, &pointer, sizeof(pointer));
    LogComposed(buffer, sizeof(buffer));
}

void FastLogger::Append(EventLogLine& line, LogComposer* composer) noexcept
{
    if (composer != nullptr) {
        Append(*composer);
    } else {
        Append(line);
    }
}

void FastLogger::Append(LogComposer& composer) noexcept
{
    LogState* const state = state_.load(std::memory_order_acquire);
    if (state == nullptr || !IsStarted()) {
        return;
    }
    if (composer.GetLength() != 0) {
        Log(*state, composer.GetBuffer(), composer.GetLength());
    } else {
        state->droppedOutside.fetch_add(1, std::memory_order_relaxed);
    }
}

void FastLogger::AppendStarted(const char* program) noexcept
{
    LogComposer composer(startedLine);
    composer.AddString(program, static_cast<UInt32>(std::strlen(program)));
    composer.Add(Impl::GetLogProcessId());
    LogState* const state = state_.load(std::memory_order_acquire);
    if (state != nullptr && composer.GetLength() != 0) {
        const Entry entry(*state);
        if (entry && IsStarted()) {
            LogInside(*state, composer.GetBuffer(), composer.GetLength());
        }
    }
}

void FastLogger::AppendStopped() noexcept
{
    LogState* const state = state_.load(std::memory_order_acquire);
    if (state == nullptr) {
        return;
    }
    const Entry entry(*state);
    if (entry && IsStarted()) {
        LogComposer composer(stoppedLine);
        composer.Add(state->counts.lines);
        composer.Add(state->counts.dropped + state->droppedOutside.load(std::memory_order_relaxed));
        LogInside(*state, composer.GetBuffer(), composer.GetLength());
    }
}

LogCounts FastLogger::GetCounts() noexcept
{
    LogState* const state = state_.load(std::memory_order_acquire);
    if (state == nullptr) {
        return {};
    }
    const Entry entry(*state);
    return {state->counts.lines,
            state->counts.dropped + state->droppedOutside.load(std::memory_order_relaxed)};
}

UInt64 FastLogger::GetBlockSize() const noexcept
{
    const LogState* const state = state_.load(std::memory_order_acquire);
    return state != nullptr ? state->blockSize : 0;
}

UInt32 FastLogger::GetBlockAge() const noexcept
{
    const LogState* const state = state_.load(std::memory_order_acquire);
    if (state == nullptr || !state->hasTime || state->lastTime < state->blockTime) {
        return 0;
    }
    return static_cast<UInt32>(state->lastTime) - static_cast<UInt32>(state->blockTime);
}

FastLogger::Control::~Control() = default;

void FastLogger::Control::LoggingStarted() {}

void FastLogger::Control::NewBlockStarting() {}

void FastLogger::Control::LoggingStopped() {}

} // namespace QV
