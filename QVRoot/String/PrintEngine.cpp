#include <QVRoot/String/DecimalTextImpl.hpp>
#include <QVRoot/String/FormatOutputImpl.hpp>
#include <QVRoot/String/FormatTextImpl.hpp>
#include <QVRoot/String/RealTextImpl.hpp>

#include <algorithm>
#include <cmath>

namespace QV::Impl {

namespace {

using FormatSyntax::Directive;
using FormatSyntax::Kind;
using FormatSyntax::Length;
using FormatSyntax::Problem;
using FormatSyntax::Verdict;

/// A number in its parts. The zeros stand between the two pieces of the body.
struct NumberParts {
    char prefix[3];
    UInt32 prefixLength = 0;
    const char* body = nullptr;
    UInt32 bodyLength = 0;
    UInt32 zerosAt = 0;
    USize zeros = 0;

    void AddPrefix(char c) { prefix[prefixLength++] = c; }
    void AddSign(bool isNegative, const Directive& directive)
    {
        if (isNegative || directive.plus || directive.space) {
            AddPrefix(isNegative ? '-' : directive.plus ? '+' : ' ');
        }
    }
};

template <class Unit>
void WriteParts(FormatOutput<Unit>& output, const NumberParts& parts, const Directive& directive,
                bool padsZeros)
{
    const USize length = USize{parts.prefixLength} + parts.bodyLength + parts.zeros;
    const USize width = directive.width < 0 ? 0 : static_cast<USize>(directive.width);
    const USize padding = width > length ? width - length : 0;
    const bool padsLeft = !directive.leftAlign && !padsZeros;
    if (padsLeft) {
        output.Fill(' ', padding);
    }
    output.Write(parts.prefix, parts.prefixLength);
    if (!directive.leftAlign && padsZeros) {
        output.Fill('0', padding);
    }
    output.Write(parts.body, parts.zerosAt);
    output.Fill('0', parts.zeros);
    output.Write(parts.body + parts.zerosAt, parts.bodyLength - parts.zerosAt);
    if (directive.leftAlign) {
        output.Fill(' ', padding);
    }
}

/// The integer as the length modifier makes it: cut, then extended to 64 bits by its sign where it has one.
UInt64 CutInteger(UInt64 value, Length length, bool isSigned)
{
    UInt32 bits = 32;
    switch (length) {
    case Length::Char:
        bits = 8;
        break;
    case Length::Short:
        bits = 16;
        break;
    case Length::Long:
        bits = sizeof(long) * 8;
        break;
    case Length::LongLong:
    case Length::IntMax:
    case Length::Size:
    case Length::PtrDiff:
        bits = 64;
        break;
    default:
        break;
    }
    const UInt32 unused = 64 - bits;
    return isSigned ? static_cast<UInt64>(static_cast<Int64>(value << unused) >> unused)
                    : value << unused >> unused;
}

/// Digits of a base that is a power of two, backwards from `end`.
char* WriteBinaryDigits(UInt64 value, UInt32 bitsPerDigit, bool isUpper, char* end)
{
    const char* const digits = isUpper ? "0123456789ABCDEF" : "0123456789abcdef";
    do {
        *--end = digits[value & ((1u << bitsPerDigit) - 1)];
        value >>= bitsPerDigit;
    } while (value != 0);
    return end;
}

template <class Unit>
void PrintInteger(FormatOutput<Unit>& output, const Directive& directive, UInt64 value)
{
    const bool isSigned = directive.conversion == 'd' || directive.conversion == 'i';
    value = CutInteger(value, directive.length, isSigned);
    NumberParts parts;
    char digits[24];
    char* first = digits;
    if (isSigned || directive.conversion == 'u') {
        const bool isNegative = isSigned && static_cast<Int64>(value) < 0;
        value = isNegative ? 0 - value : value;
        if (isSigned) {
            parts.AddSign(isNegative, directive);
        }
        parts.bodyLength = CountDecimalDigits(value);
        WriteDecimal(value, digits, parts.bodyLength);
    } else {
        char* const end = digits + sizeof(digits);
        first = WriteBinaryDigits(value, directive.conversion == 'x' ? 4 : 3, directive.isUpper, end);
        parts.bodyLength = static_cast<UInt32>(end - first);
        if (directive.alternative && directive.conversion == 'x' && value != 0) {
            parts.AddPrefix('0');
            parts.AddPrefix(directive.isUpper ? 'X' : 'x');
        }
    }
    parts.body = first;
    if (directive.precision == 0 && value == 0) {
        parts.bodyLength = 0;
    }
    const bool hasPrecision = directive.precision >= 0;
    if (hasPrecision && static_cast<UInt32>(directive.precision) > parts.bodyLength) {
        parts.zeros = static_cast<UInt32>(directive.precision) - parts.bodyLength;
    }
    const bool beginsWithZero = parts.zeros != 0 || (parts.bodyLength != 0 && *first == '0');
    if (directive.alternative && directive.conversion == 'o' && !beginsWithZero) {
        parts.zeros = 1;
    }
    WriteParts(output, parts, directive, directive.zero && !hasPrecision);
}

template <class Unit>
void PrintReal(FormatOutput<Unit>& output, const Directive& directive, double value)
{
    NumberParts parts;
    parts.AddSign(std::signbit(value), directive);
    const bool isFinite = std::isfinite(value);
    if (directive.conversion == 'a' && isFinite) {
        parts.AddPrefix('0');
        parts.AddPrefix(directive.isUpper ? 'X' : 'x');
    }
    RealText text;
    MakeRealText(std::fabs(value), directive.conversion, directive.precision, directive.alternative, text);
    if (directive.isUpper) {
        for (UInt32 i = 0; i < text.length; ++i) {
            text.text[i] = static_cast<char>(text.text[i] >= 'a' ? text.text[i] - 0x20 : text.text[i]);
        }
    }
    parts.body = text.text;
    parts.bodyLength = text.length;
    parts.zerosAt = text.zerosAt;
    parts.zeros = text.zeros;
    WriteParts(output, parts, directive, directive.zero && isFinite);
}

/// The same 18 characters on every target.
template <class Unit>
void PrintPointer(FormatOutput<Unit>& output, Directive directive, const void* pointer)
{
    constexpr UInt32 digitCount = 16;
    char digits[digitCount];
    char* const end = digits + digitCount;
    char* const first = WriteBinaryDigits(reinterpret_cast<USize>(pointer), 4, true, end);
    std::fill(digits, first, '0');
    NumberParts parts;
    parts.AddPrefix('0');
    parts.AddPrefix('x');
    parts.body = digits;
    parts.bodyLength = digitCount;
    WriteParts(output, parts, directive, false);
}

template <class Unit>
void PrintText(FormatOutput<Unit>& output, const Directive& directive, const FormatArgument& argument)
{
    const USize most = directive.precision < 0 ? ~USize{0} : static_cast<USize>(directive.precision);
    const USize width = directive.width < 0 ? 0 : static_cast<USize>(directive.width);
    if (argument.GetPointer() == nullptr) {
        WriteText(output, "(null)", 6, most, width, directive.leftAlign);
    } else if (argument.GetKind() == Kind::Text8) {
        const auto* const text = static_cast<const char*>(argument.GetPointer());
        WriteText(output, text, MeasureText<Unit>(text, argument, most), most, width, directive.leftAlign);
    } else {
        const auto* const text = static_cast<const UInt16*>(argument.GetPointer());
        WriteText(output, text, MeasureText<Unit>(text, argument, most), most, width, directive.leftAlign);
    }
}

template <class Unit>
void PrintCharacter(FormatOutput<Unit>& output, const Directive& directive, const FormatArgument& argument)
{
    const USize width = directive.width < 0 ? 0 : static_cast<USize>(directive.width);
    const bool isUnit = argument.GetKind() == Kind::Unit || directive.length == Length::Long ||
                        (sizeof(Unit) == 2 && argument.GetKind() != Kind::Char);
    const auto code = static_cast<UInt32>(argument.GetInteger());
    if (isUnit && code - 0x10000 <= 0xFFFFF) {
        const UInt16 pair[] = {static_cast<UInt16>((code >> 10) + 0xD7C0),
                               static_cast<UInt16>((code & 0x3FF) + 0xDC00)};
        WriteText(output, pair, 2, ~USize{0}, width, directive.leftAlign);
    } else if (isUnit) {
        const auto unit = static_cast<UInt16>(code);
        WriteText(output, &unit, 1, ~USize{0}, width, directive.leftAlign);
    } else {
        const auto byte = static_cast<char>(code);
        WriteText(output, &byte, 1, ~USize{0}, width, directive.leftAlign);
    }
}

template <class Unit>
void PrintArgument(FormatOutput<Unit>& output, const Directive& directive, const FormatArgument& argument)
{
    switch (directive.conversion) {
    case 'c':
        PrintCharacter(output, directive, argument);
        break;
    case 's':
        PrintText(output, directive, argument);
        break;
    case 'p':
        PrintPointer(output, directive, argument.GetPointer());
        break;
    case 'e':
    case 'f':
    case 'g':
    case 'a':
        PrintReal(output, directive, argument.GetReal());
        break;
    default:
        PrintInteger(output, directive, argument.GetInteger());
        break;
    }
}

/// Hands out arguments one after the other, never more than there are.
class ArgumentReader {
public:
    explicit ArgumentReader(FormatArgumentList list) : list_(list) {}

    const FormatArgument* Peek() const { return used_ < list_.count ? &list_.arguments[used_] : nullptr; }

    const FormatArgument* Take()
    {
        const FormatArgument* const argument = Peek();
        used_ += argument != nullptr;
        return argument;
    }

    /// A width or precision; false where there is no int.
    bool TakeInt(int& value)
    {
        const FormatArgument* const argument = Take();
        if (argument == nullptr || argument->GetKind() != Kind::Int) {
            return false;
        }
        value = static_cast<int>(argument->GetInteger());
        return true;
    }

    UInt32 GetUsed() const { return used_; }

private:
    FormatArgumentList list_;
    UInt32 used_ = 0;
};

bool TakeMeasures(ArgumentReader& arguments, Directive& directive)
{
    if (directive.takesWidth) {
        if (!arguments.TakeInt(directive.width)) {
            return false;
        }
        if (directive.width < 0) {
            directive.leftAlign = true;
            directive.width =
                static_cast<int>(std::min(0 - static_cast<UInt32>(directive.width), 0x7FFFFFFFu));
        }
    }
    return !directive.takesPrecision || arguments.TakeInt(directive.precision);
}

/// "%d" and "%s" with nothing between, which is what most directives are. False where the argument is not for
/// them.
template <class Unit>
bool PrintPlain(FormatOutput<Unit>& output, UInt32 letter, const FormatArgument& argument)
{
    if (letter == 'd' && FormatSyntax::IsPromotedToInt(argument.GetKind())) {
        const int value = static_cast<int>(argument.GetInteger());
        const UInt32 magnitude = GetMagnitude(value);
        const UInt32 count = CountDecimalDigits(magnitude);
        char digits[12] = {'-'};
        const UInt32 sign = value < 0;
        WriteDecimal(magnitude, digits + sign, count);
        output.Write(digits, sign + count);
        return true;
    }
    if (letter == 's' && (argument.GetKind() == Kind::Text8 || argument.GetKind() == Kind::Text16)) {
        PrintText(output, Directive(), argument);
        return true;
    }
    return false;
}

template <class Unit>
Problem PrintDirective(FormatOutput<Unit>& output, Directive& directive, ArgumentReader& arguments)
{
    if (const Problem problem = FormatSyntax::CheckDirective(directive, false); problem != Problem::None) {
        return problem;
    }
    if (!TakeMeasures(arguments, directive)) {
        return Problem::WrongType;
    }
    if (directive.conversion == '%') {
        output.Put('%');
        return Problem::None;
    }
    const FormatArgument* const argument = arguments.Take();
    if (argument == nullptr) {
        return Problem::TooFewArguments;
    }
    const Problem problem = FormatSyntax::CheckArgument(directive, {argument->GetKind()}, Kind::None);
    if (problem == Problem::None) {
        PrintArgument(output, directive, *argument);
    }
    return problem;
}

} // namespace

template <class FormatUnit, class Unit>
Verdict Print(FormatOutput<Unit>& output, const FormatUnit* format, FormatArgumentList list)
{
    ArgumentReader arguments(list);
    Verdict verdict;
    for (;;) {
        const FormatUnit* const literal = format;
        while (*format != 0 && *format != '%') {
            ++format;
        }
        if (format != literal) {
            WriteText(output, literal, static_cast<USize>(format - literal), ~USize{0}, 0, false);
        }
        if (*format == 0) {
            return verdict;
        }
        ++format;
        ++verdict.directive;
        if (*format == '%') {
            ++format;
            output.Put('%');
            continue;
        }
        if (const FormatArgument* const next = arguments.Peek();
            next != nullptr && PrintPlain(output, FormatSyntax::GetCode(*format), *next)) {
            arguments.Take();
            ++format;
            continue;
        }
        Directive directive = FormatSyntax::ParsePrintDirective(format);
        verdict.problem = PrintDirective(output, directive, arguments);
        if (verdict.problem != Problem::None) [[unlikely]] {
            verdict.argument = arguments.GetUsed();
            return verdict;
        }
    }
}

template Verdict Print(FormatOutput<char>&, const char*, FormatArgumentList);
template Verdict Print(FormatOutput<UInt16>&, const UInt16*, FormatArgumentList);
template Verdict Print(FormatOutput<UInt16>&, const char*, FormatArgumentList);

} // namespace QV::Impl
