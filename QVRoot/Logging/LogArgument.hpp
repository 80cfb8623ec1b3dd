/// How values become parameters of a log line.
///
/// Integers, characters, enumerations, real numbers, pointers to objects (as integers), text of all kinds and
/// `Guid`s are known. A type of one's own is made known by a specialization that turns it into one of them:
///
///     template <>
///     struct QV::LogArgument<Layer> : QV::LogArgumentAs<UInt32> {
///         static UInt32 Get(const Layer& layer) { return layer.GetNumber(); }
///     };
#pragma once

#include <QVRoot/Logging/FastLogger.hpp>

#include <concepts>
#include <string_view>
#include <type_traits>

namespace QV {

/// A library time, of which the date or all is meant.
struct LogDate {
    Int32 time;
};
struct LogTime {
    Int32 time;
};

/// A string or an identifier that is logged often with the same value: then it is one byte.
template <class T>
struct LogRepeatedValue {
    const T& value;
};
template <class T>
LogRepeatedValue<T> LogRepeated(const T& value) noexcept
{
    return {value};
}

namespace Impl {

template <class T>
concept LogNumber = std::is_arithmetic_v<T> || std::is_enum_v<T>;

/// What may be logged by its address.
template <class T>
concept LogObject = std::is_void_v<T> || std::is_class_v<T>;

/// The type that the log has for a number: that of its size, or the next larger one.
template <LogNumber T>
consteval auto FindLogNumberType()
{
    if constexpr (std::is_floating_point_v<T>) {
        return std::conditional_t<sizeof(T) == sizeof(float), float, double>();
    } else if constexpr (std::is_enum_v<T>) {
        return FindLogNumberType<std::underlying_type_t<T>>();
    } else if constexpr (std::is_signed_v<T>) {
        return std::conditional_t<sizeof(T) <= 2, Int16, std::conditional_t<sizeof(T) == 4, Int32, Int64>>();
    } else {
        return std::conditional_t<sizeof(T) <= 2, UInt16,
                                  std::conditional_t<sizeof(T) == 4, UInt32, UInt64>>();
    }
}
template <LogNumber T>
using LogNumberType = decltype(FindLogNumberType<T>());

template <class Wire>
constexpr UInt32 GetLogType() noexcept
{
    if constexpr (std::same_as<Wire, Int16>) {
        return LogType::Int16;
    } else if constexpr (std::same_as<Wire, UInt16>) {
        return LogType::UInt16;
    } else if constexpr (std::same_as<Wire, Int32>) {
        return LogType::Int32;
    } else if constexpr (std::same_as<Wire, UInt32>) {
        return LogType::UInt32;
    } else if constexpr (std::same_as<Wire, Int64>) {
        return LogType::Int64;
    } else if constexpr (std::same_as<Wire, UInt64>) {
        return LogType::UInt64;
    } else if constexpr (std::same_as<Wire, float>) {
        return LogType::Float;
    } else if constexpr (std::same_as<Wire, double>) {
        return LogType::Double;
    } else {
        static_assert(std::same_as<Wire, char>);
        return LogType::Char;
    }
}

template <class T>
concept HasTextView = requires(const T& value)
{
    {
        value.GetView()
        } -> std::same_as<std::string_view>;
};
template <class T>
concept LogText8 = HasTextView<T> || std::convertible_to<const T&, std::string_view>;
template <class T>
concept LogText16 = !LogText8<T> && std::convertible_to<const T&, std::u16string_view>;

} // namespace Impl

/// A value that is logged as one of the plain types, which `Get` makes of it.
template <class Wire>
struct LogArgumentAs {
    static constexpr LogParameter Parameter = {Impl::GetLogType<Wire>(), 0};
    static constexpr USize PlainSize = sizeof(Wire);
};

/// One that is not: `Add` adds it to a composer.
template <UInt32 Type, bool IsCompressed = false>
struct LogArgumentOfType {
    static constexpr LogParameter Parameter = {Type, IsCompressed};
    static constexpr USize PlainSize = 0;
};

template <class T>
struct LogArgument;

template <>
struct LogArgument<char> : LogArgumentAs<char> {
    static char Get(char value) noexcept { return value; }
};

template <Impl::LogNumber T>
struct LogArgument<T> : LogArgumentAs<Impl::LogNumberType<T>> {
    static auto Get(T value) noexcept { return static_cast<Impl::LogNumberType<T>>(value); }
};

template <Impl::LogObject T>
struct LogArgument<T*> : LogArgumentAs<UInt64> {
    static UInt64 Get(const volatile void* value) noexcept { return reinterpret_cast<UInt64>(value); }
};

template <>
struct LogArgument<LogDate> : LogArgumentOfType<LogType::Date> {
    static void Add(FastLogger::LogComposer& composer, LogDate value) noexcept
    {
        composer.AddDate(value.time);
    }
};
template <>
struct LogArgument<LogTime> : LogArgumentOfType<LogType::Time> {
    static void Add(FastLogger::LogComposer& composer, LogTime value) noexcept
    {
        composer.AddTime(value.time);
    }
};

template <>
struct LogArgument<Guid> : LogArgumentOfType<LogType::Id> {
    static void Add(FastLogger::LogComposer& composer, const Guid& value) noexcept { composer.AddId(value); }
};
template <>
struct LogArgument<LogRepeatedValue<Guid>> : LogArgumentOfType<LogType::Id, true> {
    static void Add(FastLogger::LogComposer& composer, const LogRepeatedValue<Guid>& repeated) noexcept
    {
        composer.AddId(repeated.value);
    }
};

/// Text of bytes is taken for UTF-8; a null pointer is the empty text.
template <Impl::LogText8 T>
struct LogArgument<T> : LogArgumentOfType<LogType::String> {
    static void Add(FastLogger::LogComposer& composer, const T& value) noexcept
    {
        const std::string_view text = View(value);
        composer.AddString(text.data(), Clamp(text.size()));
    }

    static std::string_view View(const T& value) noexcept
    {
        if constexpr (std::is_pointer_v<T>) {
            return value != nullptr ? std::string_view(value) : std::string_view();
        } else if constexpr (Impl::HasTextView<T>) {
            return value.GetView();
        } else {
            return value;
        }
    }
    static UInt32 Clamp(USize size) noexcept { return size < 0xFFFF ? static_cast<UInt32>(size) : 0xFFFF; }
};
template <Impl::LogText8 T>
struct LogArgument<LogRepeatedValue<T>> : LogArgumentOfType<LogType::String, true> {
    static void Add(FastLogger::LogComposer& composer, const LogRepeatedValue<T>& repeated) noexcept
    {
        const std::string_view text = LogArgument<T>::View(repeated.value);
        composer.AddRepeatedString(text.data(), LogArgument<T>::Clamp(text.size()));
    }
};

/// UTF-16 is logged as UTF-8.
template <Impl::LogText16 T>
struct LogArgument<T> : LogArgumentOfType<LogType::String> {
    static void Add(FastLogger::LogComposer& composer, const T& value, bool isRepeated = false) noexcept
    {
        const std::u16string_view text = value;
        composer.AddString(reinterpret_cast<const unsigned short*>(text.data()),
                           text.size() < 0xFFFF ? static_cast<UInt32>(text.size()) : 0xFFFF, isRepeated);
    }
};
template <Impl::LogText16 T>
struct LogArgument<LogRepeatedValue<T>> : LogArgumentOfType<LogType::String, true> {
    static void Add(FastLogger::LogComposer& composer, const LogRepeatedValue<T>& repeated) noexcept
    {
        LogArgument<T>::Add(composer, repeated.value, true);
    }
};

} // namespace QV
