#include <Host/LogFile.hpp>

#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/Exceptions/QVException.hpp>

#include <algorithm>
#include <cstdio>
#include <new>

namespace QV::Host {

namespace {

constexpr UInt32 mostProcesses = 99;

UniString AddNumber(const UniString& text, char separator, UInt32 number)
{
    char suffix[16];
    std::snprintf(suffix, sizeof(suffix), "%c%u", separator, number);
    UniString result = text;
    result.Append(suffix, UTF8CharCode);
    return result;
}

bool IsPlainName(const UniString& name)
{
    const std::u16string_view units = name.GetView();
    return !units.empty() && units != u"." && units != u".." &&
           units.find_first_of(std::u16string_view(u"/\\:*?\"<>|\0", 10)) == units.npos;
}

/// A folder that the debug values name.
UniString GetChosenFolder()
{
    char folder[1024];
    const UInt32 length = DBGetText("QVRoot\\Logging", "folder", folder, sizeof(folder), "");
    return length != 0 ? UniString(folder, UTF8CharCode) : UniString();
}

} // namespace

LogFile::LogFile() : end_(0, 1) {}

LogFile::~LogFile()
{
    Stop();
}

QVErrCode LogFile::Start(const LogFileSettings& settings)
{
    Stop();
    errorText_.Clear();
    isStarted_ = true; // from here on there may be something to stop
    owner_ = Impl::GetProcessNumber();
    QVErrCode error = NoError;
    try {
        Impl::SystemError systemError = 0;
        error = Prepare(settings, &systemError);
        if (error == NoError) {
            Begin(settings);
            return NoError;
        }
        if (systemError != 0) {
            errorText_ = Impl::DescribeError(systemError);
        }
    } catch (const std::bad_alloc&) {
        error = ErrMemoryFull;
    } catch (const QVException&) {
        error = ErrGeneral;
    }
    Stop();
    return error;
}

QVErrCode LogFile::Prepare(const LogFileSettings& settings, Impl::SystemError* systemError)
{
    const UniString& name = settings.name.IsEmpty() ? settings.program : settings.name;
    if (settings.program.IsEmpty() || !IsPlainName(name)) {
        return ErrParam;
    }
    UniString folder = GetChosenFolder();
    if (folder.IsEmpty()) {
        folder = settings.folder;
    }
    if (folder.IsEmpty()) {
        if (!IsPlainName(settings.program)) {
            return ErrParam;
        }
        folder = Impl::GetStateFolder(settings.program);
        if (folder.IsEmpty()) {
            return ErrFileNotFound;
        }
    }
    *systemError = Impl::MakeFolders(folder);
    if (*systemError == 0) {
        *systemError = TakeName(Impl::JoinPath(folder, name));
    }
    if (*systemError != 0) {
        return Impl::CodeForOpening(*systemError);
    }
    fileBytes_ = settings.fileBytes != 0 ? settings.fileBytes : ~UInt64{0};
    olderFiles_ = std::clamp<UInt32>(settings.olderFiles, 1, 99);
    path_ = MakePath(0);
    return BeginFile(systemError);
}

void LogFile::Begin(const LogFileSettings& settings)
{
    control_.emplace(*this, settings.block);
    logger.SetClock(settings.clock);
    logger.SetThreadNames(settings.threadNames);
    logger.SetFlushLevel(settings.flushLevel);
    logger.Start(*control_, channel_);
    isLogging_.store(true, std::memory_order_release);
    logger.AppendStarted(settings.program.ToCStr(0, UniString::Npos, UTF8CharCode).GetText());
    if (const UInt32 milliseconds = settings.flushMilliseconds; milliseconds != 0) {
        Thread flusher(RunnableTask([this, milliseconds] { FlushNowAndThen(milliseconds); }), u"log flusher");
        flusher.Start();
        flusher_ = flusher;
        isFlushing_ = true;
    }
}

/// The first name that no process uses.
Impl::SystemError LogFile::TakeName(const UniString& name)
{
    Impl::SystemError error = 0;
    for (UInt32 number = 1; number <= mostProcesses; ++number) {
        stem_ = number == 1 ? name : AddNumber(name, '-', number);
        error = lock_.OpenAlone(stem_ + u".lock");
        if (!Impl::MeansInUse(error)) {
            break;
        }
    }
    return error;
}

UniString LogFile::MakePath(UInt32 age) const
{
    return (age == 0 ? stem_ : AddNumber(stem_, '.', age)) + u".qvlog";
}

/// Passes the files' names on and begins a new one. When that fails, the current file stays in use, under
/// its old name or the next.
QVErrCode LogFile::BeginFile(Impl::SystemError* systemError)
{
    fileLimit_ = channel_.GetSize() + std::min(fileBytes_, ~channel_.GetSize());
    // Only up to the first name that is free: one attempt that fails after another must not push out files.
    UInt32 age = 1;
    while (age < olderFiles_ && Impl::Exists(MakePath(age))) {
        ++age;
    }
    for (; age != 0; --age) {
        *systemError = Impl::RenameQuickly(MakePath(age - 1), MakePath(age));
        if (age == 1 && *systemError != 0 && !Impl::MeansNotFound(*systemError)) {
            return Impl::CodeForOpening(*systemError);
        }
    }
    const QVErrCode error = channel_.Open(path_);
    *systemError = channel_.GetSystemError();
    if (error == NoError) {
        fileLimit_ = fileBytes_;
    }
    return error;
}

void LogFile::Stop() noexcept
{
    if (!isStarted_ || owner_ != Impl::GetProcessNumber()) {
        return; // what a fork has copied is the other process's
    }
    if (isFlushing_) {
        end_.Release();
        flusher_.Join();
        flusher_ = Thread();
        isFlushing_ = false;
    }
    if (isLogging_.load(std::memory_order_acquire)) {
        logger.AppendStopped();
        logger.Stop();
        logger.SetClock(LogClock::Seconds);
        logger.SetThreadNames(false);
        logger.SetFlushLevel(LogLevel::Off);
    }
    if (channel_.Close() != NoError) {
        channel_.ResetOutputStatus(); // there is no room for the rest
        channel_.Close();
    }
    lock_.Close();
    control_.reset();
    isStarted_ = false;
}

QVErrCode LogFile::Rotate() noexcept
{
    if (!isLogging_.load(std::memory_order_acquire)) {
        return ErrNotOpen;
    }
    wantsRotation_.store(true, std::memory_order_relaxed);
    logger.StartNewBlock();
    return wantsRotation_.exchange(false) ? QVErrCode{ErrGeneral} : rotation_.load();
}

QVErrCode LogFile::Flush() noexcept
{
    return isLogging_.load(std::memory_order_acquire) ? logger.Flush() : ErrNotOpen;
}

void LogFile::FlushNowAndThen(UInt32 milliseconds) noexcept
{
    while (!end_.TryAcquire(milliseconds)) {
        if (channel_.HasUnflushed()) {
            logger.Flush();
        }
    }
}

bool LogFile::Control::IsNewBlockDue()
{
    return LogBlockControl::IsNewBlockDue() || log_.IsFileFull();
}

void LogFile::Control::NewBlockStarting()
{
    const bool isAsked = log_.wantsRotation_.exchange(false);
    if (isAsked || log_.IsFileFull()) {
        Impl::SystemError ignored;
        log_.rotation_ = log_.BeginFile(&ignored);
    }
}

void LogFile::Control::LoggingStopped()
{
    log_.isLogging_.store(false, std::memory_order_release);
}

} // namespace QV::Host
