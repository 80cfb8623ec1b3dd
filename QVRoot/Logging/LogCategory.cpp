#include <QVRoot/Logging/LogCategory.hpp>

#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/Logging/LogStateImpl.hpp>
#include <QVRoot/Threading/SpinLockImpl.hpp>

#include <cstring>

namespace QV {

/// The categories that are in use, and the numbers of lines.
struct LogRegistry {
    static constinit Impl::SpinLock lock;
    static constinit LogCategory* first;
    static constinit UInt16 nextNumber;

    static void Number(EventLogLine& line, const char* category, const char* function) noexcept
    {
        const Impl::SpinLockGuard guard(lock);
        if (line.id != 0) {
            return;
        }
        line.category = category;
        line.site2 = function;
        UInt16 number = Impl::SharedLine;
        if (nextNumber <= Impl::LastAutomaticLine) {
            number = nextNumber++;
        }
        // Last, since other threads look at nothing else.
        std::atomic_ref(line.id).store(number, std::memory_order_release);
    }

    static void Add(LogCategory& category, LogLevel level) noexcept
    {
        const Impl::SpinLockGuard guard(lock);
        if (category.level_.load(std::memory_order_relaxed) == 0) {
            category.level_.store(static_cast<UInt8>(level), std::memory_order_relaxed);
            category.next_ = first;
            first = &category;
        }
    }

    static void Remove(LogCategory& category) noexcept
    {
        const Impl::SpinLockGuard guard(lock);
        for (LogCategory** place = &first; *place != nullptr; place = &(*place)->next_) {
            if (*place == &category) {
                *place = category.next_;
                break;
            }
        }
        category.level_.store(static_cast<UInt8>(LogLevel::Off), std::memory_order_relaxed);
    }

    static UInt32 SetLevels(const char* prefix, LogLevel level) noexcept
    {
        const Impl::SpinLockGuard guard(lock);
        UInt32 count = 0;
        for (LogCategory* category = first; category != nullptr; category = category->next_) {
            if (std::strncmp(category->name_, prefix, std::strlen(prefix)) == 0) {
                category->level_.store(static_cast<UInt8>(level), std::memory_order_relaxed);
                ++count;
            }
        }
        return count;
    }
};

constinit Impl::SpinLock LogRegistry::lock;
constinit LogCategory* LogRegistry::first = nullptr;
constinit UInt16 LogRegistry::nextNumber = Impl::FirstAutomaticLine;

namespace {

bool IsLevel(LogLevel level) noexcept
{
    return level >= LogLevel::Trace && level <= LogLevel::Off;
}

} // namespace

LogLevel ParseLogLevel(const char* word) noexcept
{
    constexpr const char* words[] = {"trace", "debug", "info", "warning", "error", "fatal", "off"};
    for (UInt8 i = 0; i < sizeof(words) / sizeof(words[0]); ++i) {
        if (std::strcmp(word, words[i]) == 0) {
            return static_cast<LogLevel>(i + 1);
        }
    }
    return LogLevel::None;
}

LogCategory::~LogCategory()
{
    LogRegistry::Remove(*this);
}

LogLevel LogCategory::GetLevel() noexcept
{
    Register();
    return static_cast<LogLevel>(level_.load(std::memory_order_relaxed));
}

void LogCategory::SetLevel(LogLevel level) noexcept
{
    Register();
    level_.store(static_cast<UInt8>(IsLevel(level) ? level : LogLevel::Off), std::memory_order_relaxed);
}

UInt32 LogCategory::SetLevels(const char* prefix, LogLevel level) noexcept
{
    return LogRegistry::SetLevels(prefix, IsLevel(level) ? level : LogLevel::Off);
}

void LogCategory::Register() noexcept
{
    if (level_.load(std::memory_order_relaxed) != 0) {
        return;
    }
    char word[16];
    DBGetText("QVRoot\\Logging\\Levels", name_, word, sizeof(word), "");
    const LogLevel chosen = ParseLogLevel(word);
    LogRegistry::Add(*this, IsLevel(chosen) ? chosen : IsLevel(firstLevel_) ? firstLevel_ : LogLevel::Off);
}

bool Impl::RegisterLogLine(EventLogLine& line, LogCategory& category, const char* function) noexcept
{
    const LogLevel level = category.GetLevel();
    LogRegistry::Number(line, category.GetName(), function);
    return line.level >= level;
}

void Impl::RegisterDataLine(EventLogLine& line, const char* category, const char* function) noexcept
{
    LogRegistry::Number(line, category, function);
}

} // namespace QV
