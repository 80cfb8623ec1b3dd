/// printf and scanf with arguments that know their types.
///
///     char text[64];
///     checkedsnprintf(text, sizeof(text), "%-8s %5.1f %%", name, percent);
///     int width, height;
///     if (checkedsscanf(text, "%d x %d", &width, &height) == 2) …
///
/// The language is C's, in the C locale whatever the process's locale is, and the same on both targets:
///
/// - Printing: flags "-+ #0", width, precision (both may be '*', an `int`), lengths hh h l ll j z t L,
///   conversions d i u o x X c s p f F e E g G a A %. "%s" takes text of bytes and of UTF-16 units, `String`,
///   `UniString` and the standard library's strings, and converts by the default code page where the units
///   differ; "%hs" and "%ls" insist on one of them, in scanning too. Width and precision of text count units
///   of the result.
///   "%p" gives "0x" and 16 digits.
/// - Scanning: '*', width, the same lengths and conversions and "%[…]". Numbers are taken as `strtovalue`
///   takes them. Text goes into arrays, which are never overrun and always terminated, or into strings. An
///   array that is full ends its directive as a width would.
/// - There is no "%n" and no "%1$d".
///
/// A format that is a literal is checked against the arguments by the compiler; what does not fit does not
/// compile. Any other format (`const char*`, or an array through a pointer) is checked when it is used.
///
/// Threads: any. Errors: `IllegalTypeException` when an argument is missing, left over or of the wrong type,
/// `IllegalArgumentException` for a format that is none, `NullPointerException` for a format, text, buffer or
/// variable that is null; nothing has been written or stored then. Allocation: none, but for text beyond
/// ASCII that is converted and for strings scanned into.
#pragma once

#include <QVRoot/String/FormatArgument.hpp>

namespace QV {

/// What the functions for 8-bit formats do besides their work.
enum FormatCStrCheckFlags : UInt32 {
    FormatCStrCheckDefault = 0,
    FormatCStrReturnOnMismatch = 1, ///< answers -1 instead of throwing
    FormatCStrCheckedBefore = 2,    ///< saves the check in advance; a mismatch shows when it is met
};

/// The same for UTF-16 formats.
enum FormatUStrCheckFlags : UInt32 {
    FormatUStrCheckDefault = 0,
    FormatUStrReturnOnMismatch = 1,
    FormatUStrCheckedBefore = 2,
};

namespace FormatSyntax {

/// What the compiler complains of where a literal format is refused. They are never defined.
/// @{
void TheFormatHasABadDirective();
void TheFormatHasARefusedDirective();
void TheArgumentHasTheWrongType();
void TheFormatNeedsMoreArguments();
void TheFormatHasArgumentsLeftOver();
void TheArrayIsTooSmallForTheText();
/// @}

template <UInt32 Count, class Unit>
consteval void RequireFitting(const Unit* format, const Type (&types)[Count + 1], Kind input)
{
    const auto getType = [&types](UInt32 i) { return types[i]; };
    switch (CheckFormat(format, getType, Count, input).problem) {
    case Problem::None:
        break;
    case Problem::BadDirective:
        TheFormatHasABadDirective();
        break;
    case Problem::Refused:
        TheFormatHasARefusedDirective();
        break;
    case Problem::WrongType:
        TheArgumentHasTheWrongType();
        break;
    case Problem::TooFewArguments:
        TheFormatNeedsMoreArguments();
        break;
    case Problem::ArgumentsLeftOver:
        TheFormatHasArgumentsLeftOver();
        break;
    case Problem::BufferTooSmall:
        TheArrayIsTooSmallForTheText();
        break;
    }
}

/// A type that is a pointer to units, and not an array of them.
template <class Format, class Unit>
concept IsFormatPointer = std::same_as<Format, const Unit*> || std::same_as<Format, Unit*> ||
    (sizeof(Unit) == 2 &&
     (std::same_as<Format, const unsigned short*> || std::same_as<Format, unsigned short*>));

/// A format and whether the compiler has checked it.
template <class Unit>
class Format {
public:
    const Unit* GetText() const noexcept { return text_; }
    /// The same with UTF-16 units as the library has them.
    auto GetUnits() const noexcept
    {
        using Own = std::conditional_t<sizeof(Unit) == 2, unsigned short, Unit>;
        return reinterpret_cast<const Own*>(text_);
    }
    bool IsChecked() const noexcept { return isChecked_; }

protected:
    constexpr Format(const Unit* text, bool isChecked) noexcept : text_(text), isChecked_(isChecked) {}

private:
    const Unit* text_;
    bool isChecked_;
};

} // namespace FormatSyntax

/// A format for printing arguments of the given types.
template <class Unit, class... Arguments>
class PrintFormat : public FormatSyntax::Format<Unit> {
public:
    template <USize Size>
    consteval PrintFormat(const Unit (&literal)[Size]) : FormatSyntax::Format<Unit>(literal, true)
    {
        FormatSyntax::RequireFitting<sizeof...(Arguments)>(
            literal, {{FormatSyntax::PrintKind<Arguments>()}..., {}}, FormatSyntax::Kind::None);
    }
    template <FormatSyntax::IsFormatPointer<Unit> Pointer>
    PrintFormat(Pointer text) noexcept
        : FormatSyntax::Format<Unit>(reinterpret_cast<const Unit*>(text), false)
    {
    }
};

/// A format for scanning text of `TextUnit`s into variables of the given types. The size of a `ScanBuffer` is
/// checked when it is known.
template <class Unit, class TextUnit, class... Arguments>
class ScanFormat : public FormatSyntax::Format<Unit> {
public:
    template <USize Size>
    consteval ScanFormat(const Unit (&literal)[Size])
        : FormatSyntax::Format<Unit>(literal,
                                     !(FormatSyntax::IsScanBuffer<std::remove_cvref_t<Arguments>> || ...))
    {
        FormatSyntax::RequireFitting<sizeof...(Arguments)>(
            literal, {FormatSyntax::ScanType<Arguments>()..., {}}, FormatSyntax::TextKind<TextUnit>());
    }
    template <FormatSyntax::IsFormatPointer<Unit> Pointer>
    ScanFormat(Pointer text) noexcept : FormatSyntax::Format<Unit>(reinterpret_cast<const Unit*>(text), false)
    {
    }
};

/// Print into a buffer of `size` units and answer the units written without the terminator: at most size - 1.
/// A longer text is cut. With size 0 nothing is written, and the buffer may be null. Text that is printed
/// must not lie in the buffer.
/// @{
QV_EXPORT int checkedvsnprintf(char* buffer, USize size, const char* format, FormatArgumentList arguments,
                               FormatCStrCheckFlags flags = FormatCStrCheckDefault);
QV_EXPORT int checkedvsnprintf(unsigned short* buffer, USize size, const unsigned short* format,
                               FormatArgumentList arguments,
                               FormatUStrCheckFlags flags = FormatUStrCheckDefault);

template <class... Arguments>
int checkedsnprintf(char* buffer, USize size, PrintFormat<char, std::type_identity_t<Arguments>...> format,
                    const Arguments&... arguments)
{
    const FormatArgument list[sizeof...(Arguments) + 1] = {arguments..., 0};
    return checkedvsnprintf(buffer, size, format.GetText(), {list, sizeof...(Arguments)},
                            format.IsChecked() ? FormatCStrCheckedBefore : FormatCStrCheckDefault);
}

template <class... Arguments>
int checkedsnprintf(unsigned short* buffer, USize size,
                    PrintFormat<char16_t, std::type_identity_t<Arguments>...> format,
                    const Arguments&... arguments)
{
    const FormatArgument list[sizeof...(Arguments) + 1] = {arguments..., 0};
    return checkedvsnprintf(buffer, size, format.GetUnits(), {list, sizeof...(Arguments)},
                            format.IsChecked() ? FormatUStrCheckedBefore : FormatUStrCheckDefault);
}
/// @}

/// Scan a zero-terminated text and answer the number of items stored, or -1 when the text ended before the
/// first one.
/// @{
QV_EXPORT int checkedvsscanf(const char* text, const char* format, ScanArgumentList arguments,
                             FormatCStrCheckFlags flags = FormatCStrCheckDefault);
QV_EXPORT int checkedvsscanf(const unsigned short* text, const unsigned short* format,
                             ScanArgumentList arguments, FormatUStrCheckFlags flags = FormatUStrCheckDefault);

template <class... Arguments>
int checkedsscanf(const char* text, ScanFormat<char, char, std::type_identity_t<Arguments>...> format,
                  Arguments&&... arguments)
{
    const ScanArgument list[] = {arguments..., static_cast<int*>(nullptr)};
    return checkedvsscanf(text, format.GetText(), {list, sizeof...(Arguments)},
                          format.IsChecked() ? FormatCStrCheckedBefore : FormatCStrCheckDefault);
}

template <class... Arguments>
int checkedsscanf(const unsigned short* text,
                  ScanFormat<char16_t, char16_t, std::type_identity_t<Arguments>...> format,
                  Arguments&&... arguments)
{
    const ScanArgument list[] = {arguments..., static_cast<int*>(nullptr)};
    return checkedvsscanf(text, format.GetUnits(), {list, sizeof...(Arguments)},
                          format.IsChecked() ? FormatUStrCheckedBefore : FormatUStrCheckDefault);
}

template <class... Arguments>
int checkedsscanf(const char16_t* text,
                  ScanFormat<char16_t, char16_t, std::type_identity_t<Arguments>...> format,
                  Arguments&&... arguments)
{
    return checkedsscanf(reinterpret_cast<const unsigned short*>(text), format,
                         static_cast<Arguments&&>(arguments)...);
}
/// @}

} // namespace QV
