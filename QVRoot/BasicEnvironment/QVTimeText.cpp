#include <QVRoot/BasicEnvironment/QVTimeImpl.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/UniString.hpp>

#include <array>
#include <cstring>
#include <limits>

namespace QV {

namespace {

constexpr char noTimeText[] = "**** ???? ****";

[[noreturn]] void ThrowNoTime(UInt32 line)
{
    throw PreconditionException("The time cannot be converted.", "BasicEnvironment/QVTimeImpWin", line);
}

/// "00" to "99", one after the other.
constexpr auto twoDigits = [] {
    std::array<char, 200> digits{};
    for (UInt32 i = 0; i < 100; ++i) {
        digits[2 * i] = static_cast<char>('0' + i / 10);
        digits[2 * i + 1] = static_cast<char>('0' + i % 10);
    }
    return digits;
}();

void PrintTwoDigits(UInt32 value, char* text) noexcept
{
    std::memcpy(text, &twoDigits[2 * value], 2);
}

int RefuseRoom(char* buffer, UInt32 size) noexcept
{
    if (size > 0) {
        buffer[0] = 0;
    }
    return 0;
}

int CopyText(const char* text, UInt32 length, char* buffer, UInt32 size) noexcept
{
    if (length >= size) {
        return RefuseRoom(buffer, size);
    }
    std::memcpy(buffer, text, length);
    buffer[length] = 0;
    return static_cast<int>(length);
}

constexpr UInt32 unlimited = std::numeric_limits<UInt32>::max();

/// The text of a time in the user's formats, in parts.
class LocaleText {
public:
    LocaleText(int time, unsigned int flags)
    {
        QVTimeRecord record;
        if (!Impl::GetRecord(time, (flags & TITextInUTC) != 0, record)) {
            ThrowNoTime(__LINE__);
        }
        const bool hasDate = (flags & TITextOmitDate) == 0;
        if (hasDate) {
            Advance(Impl::FormatDate(record, GetStyle(flags), text_, room));
        }
        if ((flags & TITextOmitTime) == 0) {
            if (hasDate) {
                text_[length_++] = ' ';
            }
            Advance(Impl::FormatTime(record, (flags & TITextNoSeconds) == 0,
                                     (flags & TITextForce24Hours) != 0, text_ + length_, room));
        }
    }

    UniString ToUniString() const { return UniString(text_, length_); }

private:
    static constexpr int room = 200;

    static Impl::DateStyle GetStyle(unsigned int flags) noexcept
    {
        return (flags & TITextShortDate) != 0  ? Impl::DateStyle::Short
               : (flags & TITextLongDate) != 0 ? Impl::DateStyle::Long
                                               : Impl::DateStyle::LocaleDefault;
    }

    void Advance(int written)
    {
        if (written < 0) {
            ThrowNoTime(__LINE__);
        }
        length_ += static_cast<UInt32>(written);
    }

    UInt16 text_[2 * room + 1];
    UInt32 length_ = 0;
};

} // namespace

void Impl::PrintIsoText(const QVTimeRecord& record, char* text) noexcept
{
    std::memcpy(text, "yyyy-MM-ddTHH:mm:ss", isoTextLength);
    PrintTwoDigits(record.year / 100, text);
    PrintTwoDigits(record.year % 100, text + 2);
    PrintTwoDigits(record.month, text + 5);
    PrintTwoDigits(record.day, text + 8);
    PrintTwoDigits(record.hour, text + 11);
    PrintTwoDigits(record.minute, text + 14);
    PrintTwoDigits(record.second, text + 17);
}

UniString TIGetISO8601TimeString(int time, bool utc)
{
    QVTimeRecord record;
    if (!Impl::GetRecord(time, utc, record)) {
        ThrowNoTime(__LINE__);
    }
    char text[Impl::isoTextLength];
    unsigned short units[Impl::isoTextLength];
    Impl::PrintIsoText(record, text);
    for (UInt32 i = 0; i < Impl::isoTextLength; ++i) {
        units[i] = static_cast<unsigned short>(text[i]);
    }
    return UniString(units, Impl::isoTextLength);
}

int TIGetISO8601TimeString(int time, char* buffer, bool utc)
{
    return TIGetISO8601TimeString(time, buffer, unlimited, utc);
}

int TIGetISO8601TimeString(int time, char* buffer, UInt32 size, bool utc)
{
    if (buffer == nullptr) {
        return 0;
    }
    QVTimeRecord record;
    if (!Impl::GetRecord(time, utc, record)) {
        return CopyText(noTimeText, sizeof(noTimeText) - 1, buffer, size);
    }
    if (size <= Impl::isoTextLength) {
        return RefuseRoom(buffer, size);
    }
    Impl::PrintIsoText(record, buffer);
    buffer[Impl::isoTextLength] = 0;
    return Impl::isoTextLength;
}

UniString TIGetTimeString(int time, unsigned int flags)
{
    return LocaleText(time, flags).ToUniString();
}

int TIGetTimeString(int time, char* buffer, unsigned int flags)
{
    return TIGetTimeString(time, buffer, unlimited, flags);
}

int TIGetTimeString(int time, char* buffer, UInt32 size, unsigned int flags)
{
    if (buffer == nullptr) {
        return 0;
    }
    try {
        const UniString text = TIGetTimeString(time, flags);
        const UniString::CStr bytes = text.ToCStr();
        return CopyText(bytes.GetText(), bytes.GetLength(), buffer, size);
    } catch (const QVException&) {
        return CopyText(noTimeText, sizeof(noTimeText) - 1, buffer, size);
    }
}

} // namespace QV
