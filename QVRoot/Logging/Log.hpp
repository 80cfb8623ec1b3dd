/// Logging by macro.
///
///     constinit LogCategory documents("editor.documents");
///
///     QV_LOG(Info, documents, "{user} opened {count} files in {seconds:.1} s", LogRepeated(name), n, s);
///
///     QV_LOG_ENTRY(saving, Debug, documents, "saving {count} layers", layers.size());
///     for (const Layer& layer : layers) {
///         QV_LOG_DATA(saving, "layer {name}: {bytes} bytes", layer.name, layer.size);
///     }
///
/// A line has a level (Trace, Debug, Info, Warning, Error or Fatal), a category, and a format that the
/// compiler checks against the arguments, see LogFormat.hpp and LogArgument.hpp. It costs one load and a
/// branch while its category does not take the level; the arguments are not evaluated then. Otherwise their
/// values go to the process-wide `logger`, with the place in the source.
///
/// The file is as the compiler was given it; define QV_LOG_SOURCE_ROOT as the path in front of it that is to
/// be left out.
///
/// Threads: any. Errors: none. Allocation: none below 500 bytes of text.
#pragma once

#include <QVRoot/Logging/LogArgument.hpp>
#include <QVRoot/Logging/LogCategory.hpp>
#include <QVRoot/Logging/LogFormat.hpp>

#ifndef QV_LOG_SOURCE_ROOT
#define QV_LOG_SOURCE_ROOT ""
#endif

namespace QV {

/// A line with data lines behind it, all of which are logged when it goes. See `QV_LOG_ENTRY`.
class QV_EXPORT LogEntry {
public:
    LogEntry(LogCategory& category, LogLevel level) noexcept
        : category_(category.Takes(level) && logger.IsStarted() ? &category : nullptr)
    {
    }
    ~LogEntry()
    {
        if (category_ != nullptr) {
            Write();
        }
    }
    LogEntry(const LogEntry&) = delete;
    LogEntry& operator=(const LogEntry&) = delete;

    /// Whether it is logged at all.
    explicit operator bool() const noexcept { return category_ != nullptr; }

    LogCategory& GetCategory() const noexcept { return *category_; }
    FastLogger::LogComposer& GetComposer() noexcept { return composer_; }
    void Drop() noexcept { category_ = nullptr; }

private:
    void Write() noexcept;

    LogCategory* category_;
    FastLogger::LogComposer composer_;
};

/// Whether the error lines of the library, see ErrorReporting.hpp, are logged by `logger` under the category
/// "error". While it is not started they go where they went before.
QV_EXPORT void LogErrorLines(bool on) noexcept;

namespace Impl {

/// A source file as it is logged: without the root and without a "./" in front.
consteval const char* TrimLogFile(const char* file, const char* root)
{
    const char* at = file;
    while (*root != '\0' && (*root == *at || (*root == '/' && *at == '\\'))) {
        ++root;
        ++at;
    }
    if (*root != '\0') {
        at = file;
    }
    if (at[0] == '.' && (at[1] == '/' || at[1] == '\\')) {
        ++at;
    }
    while (at != file && (*at == '/' || *at == '\\')) {
        ++at;
    }
    return at;
}

/// The line of one place in the source, with these types of arguments.
template <class Site, class... Arguments>
struct LogLine {
    static constexpr UInt32 Count = sizeof...(Arguments);
    static constexpr LogParameter Parameters[Count + 1] = {LogArgument<Arguments>::Parameter..., {}};
    static constexpr bool IsPlain = ((LogArgument<Arguments>::PlainSize != 0) && ...);
    static constexpr USize PlainSize = (LogArgument<Arguments>::PlainSize + ... + 0);

    static constexpr LogFormat::Problem Verdict = LogFormat::Check(Site::GetFormat(), Parameters, Count);
    static_assert(Verdict != LogFormat::Problem::LoneBrace, "a brace in the format has no partner");
    static_assert(Verdict != LogFormat::Problem::BadName, "a name in the format is none");
    static_assert(Verdict != LogFormat::Problem::RepeatedName, "two parameters have the same name");
    static_assert(Verdict != LogFormat::Problem::BadStyle, "a style in the format is none");
    static_assert(Verdict != LogFormat::Problem::StyleDoesNotFit, "a style does not fit its argument");
    static_assert(Verdict != LogFormat::Problem::TooFewParameters, "the format needs more arguments");
    static_assert(Verdict != LogFormat::Problem::ParametersLeftOver,
                  "the format has no place for an argument");

    static constexpr EventLogLine Make() noexcept
    {
        EventLogLine line;
        line.number = Site::GetLine() < 0xFFFF ? static_cast<UInt16>(Site::GetLine()) : UInt16{0xFFFF};
        line.params = Parameters;
        line.count = static_cast<UInt16>(Count);
        line.format = Site::GetFormat();
        line.site1 = Site::GetFile();
        line.level = Site::GetLevel();
        line.plainSize = IsPlain ? static_cast<UInt16>(PlainSize) : EventLogLine::UnknownSize;
        return line;
    }

    static inline constinit EventLogLine line = Make();
};

template <class T>
void AddLogArgument(FastLogger::LogComposer& composer, const T& value) noexcept
{
    if constexpr (LogArgument<T>::PlainSize != 0) {
        composer.Add(LogArgument<T>::Get(value));
    } else {
        LogArgument<T>::Add(composer, value);
    }
}

template <class T>
char* PutLogArgument(char* at, const T& value) noexcept
{
    const auto wire = LogArgument<T>::Get(value);
    std::memcpy(at, &wire, sizeof(wire));
    return at + sizeof(wire);
}

/// Arrays decay, and text of characters is one type for all lengths.
template <class T>
using LogArgumentType = std::remove_cv_t<std::decay_t<const T>>;

template <class Line, class... Arguments>
void WriteLogLine(LogCategory& category, const char* function, const Arguments&... arguments) noexcept
{
    if (!IsRegistered(Line::line) && !RegisterLogLine(Line::line, category, function)) [[unlikely]] {
        return;
    }
    if (!logger.IsStarted()) {
        return;
    }
    if constexpr (Line::IsPlain) {
        const EventLogLine* const line = &Line::line;
        char buffer[sizeof(line) + Line::PlainSize];
        std::memcpy(buffer, &line, sizeof(line));
        [[maybe_unused]] char* at = buffer + sizeof(line);
        ((at = PutLogArgument(at, arguments)), ...);
        logger.LogComposed(buffer, sizeof(buffer));
    } else {
        FastLogger::LogComposer composer(Line::line);
        (AddLogArgument(composer, arguments), ...);
        logger.Append(Line::line, &composer);
    }
}

template <class Site, class... Arguments>
void LogAt(LogCategory& category, const char* function, const Arguments&... arguments) noexcept
{
    WriteLogLine<LogLine<Site, LogArgumentType<Arguments>...>, LogArgumentType<Arguments>...>(
        category, function, arguments...);
}

template <class Site, class... Arguments>
void LogEntryAt(LogEntry& entry, const char* function, const Arguments&... arguments) noexcept
{
    using Line = LogLine<Site, LogArgumentType<Arguments>...>;
    if (Site::GetLevel() == LogLevel::Data) {
        if (!IsRegistered(Line::line)) [[unlikely]] {
            RegisterDataLine(Line::line, entry.GetCategory().GetName(), function);
        }
    } else if (!IsRegistered(Line::line) && !RegisterLogLine(Line::line, entry.GetCategory(), function)) {
        entry.Drop();
        return;
    }
    entry.GetComposer().AddLine(Line::line);
    (AddLogArgument<LogArgumentType<Arguments>>(entry.GetComposer(), arguments), ...);
}

} // namespace Impl

} // namespace QV

/// What a place in the source is, as a type.
#define QV_LOG_SITE(NAME, LEVEL, FORMAT)                                                                     \
    struct NAME {                                                                                            \
        static constexpr const char* GetFormat() noexcept { return FORMAT; }                                 \
        static constexpr const char* GetFile() noexcept                                                      \
        {                                                                                                    \
            return ::QV::Impl::TrimLogFile(__FILE__, QV_LOG_SOURCE_ROOT);                                    \
        }                                                                                                    \
        static constexpr ::QV::UInt32 GetLine() noexcept { return __LINE__; }                                \
        static constexpr ::QV::LogLevel GetLevel() noexcept { return ::QV::LogLevel::LEVEL; }                \
    }

/// Logs a line.
#define QV_LOG(LEVEL, CATEGORY, FORMAT, ...)                                                                 \
    do {                                                                                                     \
        if (::QV::LogCategory& qvLogCategory = (CATEGORY); qvLogCategory.Takes(::QV::LogLevel::LEVEL))       \
            [[unlikely]] {                                                                                   \
            QV_LOG_SITE(QVLogSite, LEVEL, FORMAT);                                                           \
            ::QV::Impl::LogAt<QVLogSite>(qvLogCategory, __func__ __VA_OPT__(, ) __VA_ARGS__);                \
        }                                                                                                    \
    } while (false)

/// Declares a `LogEntry` and gives it its line. It is logged, with all data lines, when it goes.
#define QV_LOG_ENTRY(NAME, LEVEL, CATEGORY, FORMAT, ...)                                                     \
    QV_LOG_SITE(NAME##Site, LEVEL, FORMAT);                                                                  \
    ::QV::LogEntry NAME((CATEGORY), ::QV::LogLevel::LEVEL);                                                  \
    if (NAME) {                                                                                              \
        ::QV::Impl::LogEntryAt<NAME##Site>(NAME, __func__ __VA_OPT__(, ) __VA_ARGS__);                       \
    }                                                                                                        \
    static_assert(true)

/// Adds a data line to a `LogEntry`.
#define QV_LOG_DATA(ENTRY, FORMAT, ...)                                                                      \
    do {                                                                                                     \
        if (ENTRY) {                                                                                         \
            QV_LOG_SITE(QVLogSite, Data, FORMAT);                                                            \
            ::QV::Impl::LogEntryAt<QVLogSite>(ENTRY, __func__ __VA_OPT__(, ) __VA_ARGS__);                   \
        }                                                                                                    \
    } while (false)
