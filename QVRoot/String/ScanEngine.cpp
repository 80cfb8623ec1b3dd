#include <QVRoot/String/FormatOutputImpl.hpp>
#include <QVRoot/String/NumberScanImpl.hpp>
#include <QVRoot/String/String.hpp>
#include <QVRoot/String/UniString.hpp>

#include <algorithm>

namespace QV::Impl {

namespace {

using FormatSyntax::Directive;
using FormatSyntax::GetCode;
using FormatSyntax::Kind;
using FormatSyntax::Length;
using FormatSyntax::Problem;
using FormatSyntax::Verdict;

/// Whether a unit is in a set such as "a-z_".
template <class Unit>
bool IsInSet(UInt32 code, const Unit* set, UInt32 length)
{
    for (UInt32 i = 0; i < length; ++i) {
        const UInt32 first = GetCode(set[i]);
        UInt32 last = first;
        if (i + 2 < length && GetCode(set[i + 1]) == '-') {
            i += 2;
            last = GetCode(set[i]);
        }
        if (code >= first && code <= last) {
            return true;
        }
    }
    return false;
}

/// The nearest value of the type that length and sign ask for. As in C, short types are read as int.
UInt64 SaturateTo(Length length, bool isSigned, const ScannedInteger& scanned)
{
    switch (length) {
    case Length::None:
    case Length::Char:
    case Length::Short:
        return isSigned ? static_cast<UInt64>(Saturate<int>(scanned)) : Saturate<unsigned int>(scanned);
    case Length::Long:
        return isSigned ? static_cast<UInt64>(Saturate<long>(scanned)) : Saturate<unsigned long>(scanned);
    default:
        return isSigned ? static_cast<UInt64>(Saturate<Int64>(scanned)) : Saturate<UInt64>(scanned);
    }
}

template <class T>
void Store(void* variable, UInt64 value)
{
    *static_cast<T*>(variable) = static_cast<T>(value);
}

void StoreInteger(Kind kind, void* variable, UInt64 value)
{
    switch (kind) {
    case Kind::Char:
        return Store<UInt8>(variable, value);
    case Kind::Short:
    case Kind::Unit:
        return Store<UInt16>(variable, value);
    case Kind::Long:
    case Kind::ULong:
        return Store<unsigned long>(variable, value);
    case Kind::LongLong:
    case Kind::ULongLong:
        return Store<UInt64>(variable, value);
    default:
        return Store<UInt32>(variable, value);
    }
}

/// One unit into a variable for one, converted by the default code page where the units differ.
template <class Unit>
void StoreUnit(Kind kind, void* variable, Unit unit)
{
    if (kind == Kind::Char) {
        *static_cast<char*>(variable) =
            sizeof(Unit) == 1 ? static_cast<char>(unit) : static_cast<char>(UniChar(unit));
    } else {
        *static_cast<UInt16*>(variable) = UniChar(unit);
    }
}

void StoreString(Kind kind, void* variable, const char* text, USize length)
{
    if (kind == Kind::UniString) {
        static_cast<UniString*>(variable)->Assign(text, static_cast<UInt32>(length));
    } else {
        static_cast<String*>(variable)->Assign(text, static_cast<UInt32>(length));
    }
}

void StoreString(Kind kind, void* variable, const UInt16* text, USize length)
{
    if (kind == Kind::UniString) {
        static_cast<UniString*>(variable)->Assign(text, static_cast<UInt32>(length));
    } else {
        const UniString units(text, static_cast<UInt32>(length));
        const UniString::CStr bytes = units.ToCStr();
        static_cast<String*>(variable)->Assign(bytes.GetText(), bytes.GetLength());
    }
}

template <class Unit>
class Scanner {
public:
    Scanner(const Unit* text, const Unit* end, const Unit* format, ScanArgumentList arguments)
        : at_(text), end_(end), format_(format), arguments_(arguments)
    {
    }

    /// The items, or -1.
    int Run()
    {
        while (*format_ != 0) {
            const Outcome outcome = RunDirective();
            if (outcome == InputEnded && items_ == 0) {
                return -1;
            }
            if (outcome != Matched) {
                break;
            }
        }
        return items_;
    }

    const Verdict& GetVerdict() const { return verdict_; }

private:
    enum Outcome { Matched, Failed, InputEnded };

    static constexpr Kind textKind = sizeof(Unit) == 1 ? Kind::Text8 : Kind::Text16;

    Outcome RunDirective()
    {
        if (IsSpace(*format_)) {
            ++format_;
            SkipInputSpace();
            return Matched;
        }
        if (*format_ != '%') {
            return MatchUnit(*format_++);
        }
        ++format_;
        ++verdict_.directive;
        const Directive directive = FormatSyntax::ParseScanDirective(format_);
        if (const Problem problem = CheckDirective(directive, true); problem != Problem::None) {
            return Refuse(problem);
        }
        if (directive.conversion == '%') {
            SkipInputSpace();
            return MatchUnit('%');
        }
        return Convert(directive);
    }

    Outcome Refuse(Problem problem)
    {
        verdict_.problem = problem;
        return Failed;
    }

    void SkipInputSpace() { at_ = SkipSpace(at_, end_); }

    Outcome MatchUnit(Unit unit)
    {
        if (at_ == end_) {
            return InputEnded;
        }
        if (*at_ != unit) {
            return Failed;
        }
        ++at_;
        return Matched;
    }

    Outcome Convert(const Directive& directive)
    {
        const ScanArgument* argument = nullptr;
        if (!directive.isSuppressed) {
            if (verdict_.argument >= arguments_.count) {
                return Refuse(Problem::TooFewArguments);
            }
            argument = &arguments_.arguments[verdict_.argument++];
            const Problem problem = CheckArgument(directive, argument->GetType(), textKind);
            if (problem != Problem::None) {
                return Refuse(problem);
            }
        }
        const bool isText = directive.conversion == 'c' || directive.conversion == '[';
        if (!isText) {
            SkipInputSpace();
        }
        if (at_ == end_) {
            return InputEnded;
        }
        Outcome outcome = Failed;
        if (FormatSyntax::IsRealConversion(directive.conversion)) {
            outcome = ConvertReal(directive, argument);
        } else if (isText || directive.conversion == 's') {
            outcome = ConvertText(directive, argument);
        } else {
            outcome = ConvertInteger(directive, argument);
        }
        items_ += outcome == Matched && argument != nullptr;
        return outcome;
    }

    const Unit* GetFieldEnd(int width) const { return width >= 0 && width < end_ - at_ ? at_ + width : end_; }

    Outcome ConvertInteger(const Directive& directive, const ScanArgument* argument)
    {
        UInt32 base = 10;
        switch (directive.conversion) {
        case 'i':
            base = 0;
            break;
        case 'o':
            base = 8;
            break;
        case 'x':
        case 'p':
            base = 16;
            break;
        default:
            break;
        }
        ScannedInteger scanned;
        if (!ScanInteger(at_, GetFieldEnd(directive.width), base, scanned)) {
            return Failed;
        }
        if (argument == nullptr) {
            return Matched;
        }
        if (directive.conversion == 'p') {
            *static_cast<void**>(argument->GetVariable()) = reinterpret_cast<void*>(Saturate<USize>(scanned));
            return Matched;
        }
        const bool isSigned = directive.conversion == 'd' || directive.conversion == 'i';
        StoreInteger(argument->GetType().kind, argument->GetVariable(),
                     SaturateTo(directive.length, isSigned, scanned));
        return Matched;
    }

    template <class Real>
    Outcome ConvertReal(const Directive& directive, const ScanArgument* argument)
    {
        Real value = 0;
        if (!ScanReal(at_, GetFieldEnd(directive.width), value)) {
            return Failed;
        }
        if (argument != nullptr && argument->GetType().kind == Kind::LongDouble) {
            *static_cast<long double*>(argument->GetVariable()) = value;
        } else if (argument != nullptr) {
            *static_cast<Real*>(argument->GetVariable()) = value;
        }
        return Matched;
    }

    Outcome ConvertReal(const Directive& directive, const ScanArgument* argument)
    {
        return directive.length == Length::None ? ConvertReal<float>(directive, argument)
                                                : ConvertReal<double>(directive, argument);
    }

    /// The end of the text that a directive takes.
    const Unit* FindTextEnd(const Directive& directive, const Unit* end) const
    {
        if (directive.conversion == 'c') {
            return end;
        }
        const Unit* const set = format_ - directive.setLength - 1; // its bracket ends the directive
        const Unit* at = at_;
        while (at != end && (directive.conversion == 's'
                                 ? !IsSpace(*at)
                                 : IsInSet(GetCode(*at), set, directive.setLength) != directive.isInverted)) {
            ++at;
        }
        return at;
    }

    Outcome ConvertText(const Directive& directive, const ScanArgument* argument)
    {
        const bool isCharacters = directive.conversion == 'c';
        const Kind kind = argument == nullptr ? Kind::None : argument->GetType().kind;
        const int width = isCharacters && directive.width < 0 ? 1 : directive.width;
        const Unit* end = GetFieldEnd(width);
        if (isCharacters && end - at_ < width) {
            return InputEnded;
        }
        if (kind == textKind && !isCharacters) {
            end = at_ + std::min(static_cast<USize>(end - at_), USize{argument->GetType().extent} - 1);
        }
        end = FindTextEnd(directive, end);
        if (end == at_) {
            return Failed;
        }
        const USize length = static_cast<USize>(end - at_);
        if (kind == textKind) {
            Unit* const units = static_cast<Unit*>(argument->GetVariable());
            std::memmove(units, at_, length * sizeof(Unit)); // the array may be the text itself
            if (!isCharacters) {
                units[length] = 0;
            }
        } else if (kind == Kind::Char || kind == Kind::Unit) {
            StoreUnit(kind, argument->GetVariable(), *at_);
        } else if (kind != Kind::None) {
            StoreString(kind, argument->GetVariable(), at_, length);
        }
        at_ = end;
        return Matched;
    }

    const Unit* at_;
    const Unit* end_;
    const Unit* format_;
    ScanArgumentList arguments_;
    int items_ = 0;
    Verdict verdict_;
};

} // namespace

template <class Unit>
Verdict Scan(const Unit* text, const Unit* end, const Unit* format, ScanArgumentList arguments, int& items)
{
    Scanner<Unit> scanner(text, end, format, arguments);
    items = scanner.Run();
    return scanner.GetVerdict();
}

template Verdict Scan(const char*, const char*, const char*, ScanArgumentList, int&);
template Verdict Scan(const UInt16*, const UInt16*, const UInt16*, ScanArgumentList, int&);

} // namespace QV::Impl
