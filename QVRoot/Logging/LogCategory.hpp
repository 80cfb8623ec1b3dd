/// What a part of a program logs under, and how much of it.
///
///     constinit LogCategory documents("editor.documents");           // in a .cpp file
///     extern LogCategory documents;                                  // for those who log under it
///
///     documents.SetLevel(LogLevel::Debug);
///     LogCategory::SetLevels("editor.", LogLevel::Off);              // all within
///
/// A line is logged when its level is at least that of its category; asking costs one load. The first level
/// is the debug value with the category's name in the section "QVRoot\Logging\Levels", a word such as `debug`
/// or `off`, else the one given here.
///
/// Threads: any. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/Logging/EventLogLine.hpp>

#include <atomic>

namespace QV {

class QV_EXPORT LogCategory {
public:
    /// The name consists of letters, digits, '.', '-', '_' and '/', and must live as long as the category. A
    /// dot separates a category from one within it.
    constexpr explicit LogCategory(const char* name, LogLevel level = LogLevel::Info) noexcept
        : name_(name), firstLevel_(level)
    {
    }
    ~LogCategory();
    LogCategory(const LogCategory&) = delete;
    LogCategory& operator=(const LogCategory&) = delete;

    const char* GetName() const noexcept { return name_; }
    LogLevel GetLevel() noexcept;
    void SetLevel(LogLevel level) noexcept;

    /// Whether lines of the level are logged. True for all as long as nobody has logged or asked for the
    /// level.
    bool Takes(LogLevel level) const noexcept
    {
        return static_cast<UInt8>(level) >= level_.load(std::memory_order_relaxed);
    }

    /// Sets the level of all categories whose names begin so, that have logged or were asked for their level.
    /// Answers how many there are.
    static UInt32 SetLevels(const char* prefix, LogLevel level) noexcept;

private:
    friend struct LogRegistry;

    void Register() noexcept;

    const char* name_;
    LogLevel firstLevel_;
    std::atomic<UInt8> level_ = 0; ///< 0: not in the list yet
    LogCategory* next_ = nullptr;
};

/// The level of a word such as "warning"; `None` for any other.
QV_EXPORT LogLevel ParseLogLevel(const char* word) noexcept;

namespace Impl {

/// Gives a line of the macros its number, category and function, once. Answers whether it is to be logged.
QV_EXPORT bool RegisterLogLine(EventLogLine& line, LogCategory& category, const char* function) noexcept;

/// Gives a data line the category of its entry.
QV_EXPORT void RegisterDataLine(EventLogLine& line, const char* category, const char* function) noexcept;

inline bool IsRegistered(EventLogLine& line) noexcept
{
    return std::atomic_ref(line.id).load(std::memory_order_acquire) != 0;
}

} // namespace Impl

} // namespace QV
