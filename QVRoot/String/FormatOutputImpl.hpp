/// Where formatted text goes, and the engine that makes it.
#pragma once

#include <QVRoot/String/CheckedFormat.hpp>

#include <cstring>

namespace QV::Impl {

/// A buffer that text is written into. When it is full its handler empties it; without one the rest of the
/// text is dropped.
template <class Unit>
class FormatOutput {
public:
    using Handler = void (*)(void* context, const Unit* text, UInt32 count);

    FormatOutput(Unit* buffer, USize size) noexcept : first_(buffer), at_(buffer), end_(buffer + size) {}
    FormatOutput(Unit* buffer, USize size, Handler handler, void* context) noexcept
        : first_(buffer), at_(buffer), end_(buffer + size), handler_(handler), context_(context)
    {
    }

    Unit* GetPosition() const noexcept { return at_; }

    /// Whether there is room, once what was written has been handed on.
    bool HasRoom() { return at_ != end_ || Flush(); }

    bool Flush()
    {
        if (handler_ == nullptr) {
            return false;
        }
        if (at_ != first_) {
            handler_(context_, first_, static_cast<UInt32>(at_ - first_));
            at_ = first_;
        }
        return true;
    }

    void Put(Unit unit)
    {
        if (HasRoom()) {
            *at_++ = unit;
        }
    }

    void Fill(char c, USize count)
    {
        while (count != 0 && HasRoom()) {
            const USize piece = GetPiece(count);
            for (Unit* const end = at_ + piece; at_ != end; ++at_) {
                *at_ = static_cast<Unit>(c);
            }
            count -= piece;
        }
    }

    /// Bytes become units as they are: ASCII, or 8-bit text for 8-bit output.
    template <class Source>
    void Write(const Source* text, USize count)
    {
        static_assert(sizeof(Source) <= sizeof(Unit));
        while (count != 0 && HasRoom()) {
            const USize piece = GetPiece(count);
            if constexpr (sizeof(Source) == sizeof(Unit)) {
                std::memmove(at_, text, piece * sizeof(Unit)); // an argument may lie in the buffer
            } else {
                for (USize i = 0; i < piece; ++i) {
                    at_[i] = static_cast<unsigned char>(text[i]);
                }
            }
            at_ += piece;
            text += piece;
            count -= piece;
        }
    }

private:
    USize GetPiece(USize count) const noexcept
    {
        const USize room = static_cast<USize>(end_ - at_);
        return count < room ? count : room;
    }

    Unit* first_;
    Unit* at_;
    Unit* end_;
    Handler handler_ = nullptr;
    void* context_ = nullptr;
};

/// Throws what a format is refused for; under `quiet` answers false. Without a problem answers true.
bool ReportProblem(const FormatSyntax::Verdict& verdict, bool quiet);

/// Requires a format and checks it as a whole; false under `quiet` where it does not fit.
template <class Unit>
bool CheckFormat(const Unit* format, FormatArgumentList arguments, bool quiet);
template <class Unit>
bool CheckFormat(const Unit* format, ScanArgumentList arguments, bool quiet);

/// Requires that no variable is null; false under `quiet` where one is.
bool RequireVariables(ScanArgumentList arguments, bool quiet);

/// Prints. A directive without a fitting argument ends the work with what is wrong.
template <class FormatUnit, class Unit>
FormatSyntax::Verdict Print(FormatOutput<Unit>& output, const FormatUnit* format,
                            FormatArgumentList arguments);

/// Scans the text from `text` to `end`; counts the items, -1 as the functions answer it.
template <class Unit>
FormatSyntax::Verdict Scan(const Unit* text, const Unit* end, const Unit* format, ScanArgumentList arguments,
                           int& items);

/// Checks, scans and reports.
template <class Unit>
int ScanChecked(const Unit* text, const Unit* end, const Unit* format, ScanArgumentList arguments,
                UInt32 flags)
{
    const bool quiet = (flags & FormatCStrReturnOnMismatch) != 0;
    if ((flags & FormatCStrCheckedBefore) == 0 && !CheckFormat(format, arguments, quiet)) {
        return -1;
    }
    if (!RequireVariables(arguments, quiet)) {
        return -1;
    }
    int items = 0;
    const FormatSyntax::Verdict verdict = Scan(text, end, format, arguments, items);
    return ReportProblem(verdict, quiet) ? items : -1;
}

/// Checks, prints and reports. False when nothing was printed because of a mismatch.
template <class FormatUnit, class Unit>
bool PrintChecked(FormatOutput<Unit>& output, const FormatUnit* format, FormatArgumentList arguments,
                  UInt32 flags)
{
    const bool quiet = (flags & FormatCStrReturnOnMismatch) != 0;
    if ((flags & FormatCStrCheckedBefore) == 0 && !CheckFormat(format, arguments, quiet)) {
        return false;
    }
    return ReportProblem(Print(output, format, arguments), quiet);
}

} // namespace QV::Impl
