#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/FormatOutputImpl.hpp>

#include <algorithm>

namespace QV {

namespace {

using FormatSyntax::Problem;
using FormatSyntax::Verdict;

const char* Describe(Problem problem)
{
    switch (problem) {
    case Problem::BadDirective:
        return "is not a directive";
    case Problem::Refused:
        return "is refused";
    case Problem::WrongType:
        return "does not fit the type of argument %u";
    case Problem::TooFewArguments:
        return "has no argument";
    case Problem::ArgumentsLeftOver:
        return "is the last one, but there are more arguments";
    default:
        return "does not fit into the array of argument %u";
    }
}

/// "checked format: directive 2 does not fit the type of argument 3"
void MakeMessage(const Verdict& verdict, char (&message)[160])
{
    Impl::FormatOutput<char> output(message, sizeof(message) - 1);
    const FormatArgument arguments[] = {verdict.directive, verdict.argument};
    Impl::Print(output, "checked format: directive %u ", {arguments, 1});
    Impl::Print(output, Describe(verdict.problem), {arguments + 1, 1});
    *output.GetPosition() = '\0';
}

template <class Unit>
void RequireFormat(const Unit* format)
{
    if (format == nullptr) {
        QV_THROW(NullPointerException, "checked format: format is null");
    }
}

template <class Unit>
void RequireTexts(const Unit* text, const Unit* format)
{
    if (text == nullptr) {
        QV_THROW(NullPointerException, "checked format: text is null");
    }
    RequireFormat(format);
}

/// Leaves no half text behind. A buffer that nothing was written into stays as it is.
template <class Unit>
void DropText(Unit* buffer, const Impl::FormatOutput<Unit>& output)
{
    if (output.GetPosition() != buffer) {
        *buffer = 0;
    }
}

template <class Unit>
int PrintInto(Unit* buffer, USize size, const Unit* format, FormatArgumentList arguments, UInt32 flags)
{
    Unit nothing[1];
    if (size == 0) {
        buffer = nothing;
        size = 1;
    }
    RequireTexts<Unit>(buffer, format);
    // As many as the answer can count.
    const USize room = std::min<USize>(size - 1, 0x7FFFFFFF);
    Impl::FormatOutput<Unit> output(buffer, room);
    bool isPrinted = false;
    try {
        isPrinted = Impl::PrintChecked(output, format, arguments, flags);
    } catch (...) {
        DropText(buffer, output);
        throw;
    }
    if (!isPrinted) {
        DropText(buffer, output);
        return -1;
    }
    *output.GetPosition() = 0;
    return static_cast<int>(output.GetPosition() - buffer);
}

template <class Unit>
int ScanFrom(const Unit* text, const Unit* format, ScanArgumentList arguments, UInt32 flags)
{
    RequireTexts(text, format);
    const Unit* end = text;
    while (*end != 0) {
        ++end;
    }
    return Impl::ScanChecked(text, end, format, arguments, flags);
}

} // namespace

namespace Impl {

bool ReportProblem(const Verdict& verdict, bool quiet)
{
    if (quiet || verdict.problem == Problem::None) {
        return verdict.problem == Problem::None;
    }
    char message[160];
    MakeMessage(verdict, message);
    if (verdict.problem == Problem::BadDirective || verdict.problem == Problem::Refused) {
        QV_THROW(IllegalArgumentException, message);
    }
    QV_THROW(IllegalTypeException, message);
}

template <class Unit>
bool CheckFormat(const Unit* format, FormatArgumentList list, bool quiet)
{
    RequireFormat(format);
    const auto getType = [&list](UInt32 i) { return FormatSyntax::Type{list.arguments[i].GetKind()}; };
    return ReportProblem(FormatSyntax::CheckFormat(format, getType, list.count, FormatSyntax::Kind::None),
                         quiet);
}

template <class Unit>
bool CheckFormat(const Unit* format, ScanArgumentList list, bool quiet)
{
    RequireFormat(format);
    const auto getType = [&list](UInt32 i) { return list.arguments[i].GetType(); };
    return ReportProblem(
        FormatSyntax::CheckFormat(format, getType, list.count, FormatSyntax::TextKind<Unit>()), quiet);
}

bool RequireVariables(ScanArgumentList list, bool quiet)
{
    for (UInt32 i = 0; i < list.count; ++i) {
        if (list.arguments[i].GetVariable() == nullptr) [[unlikely]] {
            if (quiet) {
                return false;
            }
            QV_THROW(NullPointerException, "checked format: variable is null");
        }
    }
    return true;
}

template bool CheckFormat(const char*, FormatArgumentList, bool);
template bool CheckFormat(const UInt16*, FormatArgumentList, bool);
template bool CheckFormat(const char*, ScanArgumentList, bool);
template bool CheckFormat(const UInt16*, ScanArgumentList, bool);

} // namespace Impl

int checkedvsnprintf(char* buffer, USize size, const char* format, FormatArgumentList arguments,
                     FormatCStrCheckFlags flags)
{
    return PrintInto(buffer, size, format, arguments, flags);
}

int checkedvsnprintf(unsigned short* buffer, USize size, const unsigned short* format,
                     FormatArgumentList arguments, FormatUStrCheckFlags flags)
{
    return PrintInto(buffer, size, format, arguments, flags);
}

int checkedvsscanf(const char* text, const char* format, ScanArgumentList arguments,
                   FormatCStrCheckFlags flags)
{
    return ScanFrom(text, format, arguments, flags);
}

int checkedvsscanf(const unsigned short* text, const unsigned short* format, ScanArgumentList arguments,
                   FormatUStrCheckFlags flags)
{
    return ScanFrom(text, format, arguments, flags);
}

} // namespace QV
