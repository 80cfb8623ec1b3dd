/// The typed arguments of formats.
///
///     const FormatArgument arguments[] = {3, "trees"};
///     checkedvsnprintf(text, sizeof(text), "%d %s", {arguments, 2});
///
/// An argument refers to text and to scanned variables: both must outlive it. A null text prints as "(null)".
/// Text in an array ends at its zero or with the array, text behind a pointer at its zero or at the
/// precision.
///
/// Threads: a value. Errors: types that no directive takes do not compile. Allocation: none.
#pragma once

#include <QVRoot/String/FormatSyntax.hpp>

#include <concepts>
#include <string_view>
#include <type_traits>

namespace QV {

class String;
class UniChar;
class UniString;

/// An array to scan text into, where the type does not tell its size.
template <class Unit>
struct ScanBuffer {
    Unit* units;
    UInt32 size; ///< with the terminator
};

namespace FormatSyntax {

template <class T>
concept HasView8 = requires(const T& text)
{
    {
        text.GetView()
        } -> std::same_as<std::string_view>;
}
|| std::convertible_to<const T&, std::string_view>;

template <class T>
concept HasView16 = requires(const T& text)
{
    {
        text.GetView()
        } -> std::same_as<std::u16string_view>;
}
|| std::convertible_to<const T&, std::u16string_view>;

template <class T>
concept IsUnit16 = std::same_as<T, unsigned short> || std::same_as<T, char16_t> || std::same_as<T, UniChar>;

template <class T>
concept IsChar8 = std::same_as<T, char> || std::same_as<T, signed char> || std::same_as<T, unsigned char>;

template <class T>
constexpr Kind IntegerKind() noexcept
{
    if constexpr (std::is_enum_v<T>) {
        return IntegerKind<std::underlying_type_t<T>>();
    } else if constexpr (IsChar8<T>) {
        return Kind::Char;
    } else if constexpr (std::same_as<T, short>) {
        return Kind::Short;
    } else if constexpr (IsUnit16<T>) {
        return Kind::Unit;
    } else if constexpr (std::same_as<T, int> || std::same_as<T, bool>) {
        return Kind::Int;
    } else if constexpr (std::same_as<T, unsigned int>) {
        return Kind::UInt;
    } else if constexpr (std::same_as<T, long>) {
        return Kind::Long;
    } else if constexpr (std::same_as<T, unsigned long>) {
        return Kind::ULong;
    } else if constexpr (std::same_as<T, long long>) {
        return Kind::LongLong;
    } else if constexpr (std::same_as<T, unsigned long long>) {
        return Kind::ULongLong;
    } else {
        return Kind::None;
    }
}

template <class T>
constexpr Kind RealKind() noexcept
{
    if constexpr (std::same_as<T, float>) {
        return Kind::Float;
    } else if constexpr (std::same_as<T, double>) {
        return Kind::Double;
    } else if constexpr (std::same_as<T, long double>) {
        return Kind::LongDouble;
    } else {
        return Kind::None;
    }
}

template <class Unit>
constexpr Kind TextKind() noexcept
{
    return IsChar8<Unit> ? Kind::Text8 : IsUnit16<Unit> ? Kind::Text16 : Kind::None;
}

/// Text of other widths is refused rather than printed as an address.
template <class T>
concept IsForeignText = std::same_as<T, wchar_t> || std::same_as<T, char32_t> || std::same_as<T, char8_t> ||
    std::is_function_v<T>;

template <class Argument>
constexpr Kind PrintKind() noexcept
{
    using T = std::decay_t<Argument>;
    if constexpr (std::is_pointer_v<T>) {
        using Target = std::remove_cv_t<std::remove_pointer_t<T>>;
        constexpr Kind text = TextKind<Target>();
        return text != Kind::None ? text : IsForeignText<Target> ? Kind::None : Kind::Pointer;
    } else if constexpr (std::same_as<T, std::nullptr_t>) {
        return Kind::Pointer;
    } else if constexpr (IntegerKind<T>() != Kind::None) {
        return IntegerKind<T>();
    } else if constexpr (RealKind<T>() != Kind::None) {
        return RealKind<T>() == Kind::LongDouble ? Kind::LongDouble : Kind::Double;
    } else if constexpr (HasView16<T>) {
        return Kind::Text16;
    } else if constexpr (HasView8<T>) {
        return Kind::Text8;
    } else {
        return Kind::None;
    }
}

template <class T>
constexpr Kind ScannedKind() noexcept
{
    if constexpr (std::same_as<T, UniString>) {
        return Kind::UniString;
    } else if constexpr (std::same_as<T, String>) {
        return Kind::String;
    } else if constexpr (std::same_as<T, void*>) {
        return Kind::Pointer;
    } else if constexpr (std::same_as<T, bool> || std::is_enum_v<T>) {
        return Kind::None; // not every number is a value of these
    } else {
        return IntegerKind<T>() != Kind::None ? IntegerKind<T>() : RealKind<T>();
    }
}

template <class T>
inline constexpr bool IsScanBuffer = false;
template <class Unit>
inline constexpr bool IsScanBuffer<ScanBuffer<Unit>> = true;

template <class Argument>
constexpr Type ScanType() noexcept
{
    using T = std::remove_reference_t<Argument>;
    if constexpr (std::is_array_v<T>) {
        using Unit = std::remove_extent_t<T>;
        return {std::is_const_v<Unit> ? Kind::None : TextKind<Unit>(), static_cast<UInt32>(std::extent_v<T>)};
    } else if constexpr (std::is_pointer_v<T>) {
        return {ScannedKind<std::remove_pointer_t<T>>()};
    } else if constexpr (IsScanBuffer<std::remove_cv_t<T>>) {
        return {TextKind<std::remove_pointer_t<decltype(T::units)>>()};
    } else {
        return {};
    }
}

} // namespace FormatSyntax

/// A value to print.
class FormatArgument {
public:
    template <class T>
    FormatArgument(const T& value) noexcept : kind_(FormatSyntax::PrintKind<T>())
    {
        using FormatSyntax::Kind;
        constexpr Kind kind = FormatSyntax::PrintKind<T>();
        static_assert(kind != Kind::None, "no directive prints arguments of this type");
        if constexpr (std::is_pointer_v<std::decay_t<T>>) {
            pointer_ = value;
            isTerminated_ = true;
            if constexpr (std::is_array_v<T>) {
                length_ = std::extent_v<T>;
            }
        } else if constexpr (std::is_null_pointer_v<T>) {
            pointer_ = nullptr;
        } else if constexpr (kind == Kind::Text8) {
            SetText(std::string_view(GetView(value)));
        } else if constexpr (kind == Kind::Text16) {
            SetText(std::u16string_view(GetView(value)));
        } else if constexpr (kind == Kind::Double || kind == Kind::LongDouble) {
            real_ = static_cast<double>(value);
        } else if constexpr (kind == Kind::Unit) {
            integer_ = static_cast<unsigned short>(value);
        } else {
            integer_ = static_cast<UInt64>(value);
        }
    }

    FormatSyntax::Kind GetKind() const noexcept { return kind_; }
    /// The value, extended by its sign to 64 bits.
    UInt64 GetInteger() const noexcept { return integer_; }
    double GetReal() const noexcept { return real_; }
    const void* GetPointer() const noexcept { return pointer_; }
    /// The length of a text in its units; the most it can be for a text that ends at its zero.
    USize GetLength() const noexcept { return length_; }
    bool IsTerminated() const noexcept { return isTerminated_; }

    static constexpr USize UnknownLength = ~USize{0};

private:
    template <class T>
    static auto GetView(const T& text) noexcept
    {
        if constexpr (requires { text.GetView(); }) {
            return text.GetView();
        } else if constexpr (FormatSyntax::HasView16<T>) {
            return static_cast<std::u16string_view>(text);
        } else {
            return static_cast<std::string_view>(text);
        }
    }

    template <class View>
    void SetText(View text) noexcept
    {
        // An empty text may be null, which is not the same here.
        pointer_ = text.empty() ? "" : static_cast<const void*>(text.data());
        length_ = text.size();
    }

    FormatSyntax::Kind kind_;
    bool isTerminated_ = false;
    union {
        UInt64 integer_;
        double real_;
        const void* pointer_;
    };
    USize length_ = UnknownLength;
};

/// A variable to scan into: a pointer to it, an array or a `ScanBuffer`.
class ScanArgument {
public:
    template <class T>
    requires(!std::same_as<std::remove_cvref_t<T>, ScanArgument>) ScanArgument(T&& target)
    noexcept : type_(FormatSyntax::ScanType<T>())
    {
        static_assert(FormatSyntax::ScanType<T>().kind != FormatSyntax::Kind::None,
                      "no directive scans into variables of this type");
        if constexpr (FormatSyntax::IsScanBuffer<std::remove_cvref_t<T>>) {
            variable_ = target.units;
            type_.extent = target.size;
        } else {
            variable_ = target;
        }
    }

    const FormatSyntax::Type& GetType() const noexcept { return type_; }
    void* GetVariable() const noexcept { return variable_; }

private:
    FormatSyntax::Type type_;
    void* variable_;
};

/// The arguments of one call.
template <class Argument>
struct ArgumentList {
    const Argument* arguments;
    UInt32 count;
};
using FormatArgumentList = ArgumentList<FormatArgument>;
using ScanArgumentList = ArgumentList<ScanArgument>;

} // namespace QV
