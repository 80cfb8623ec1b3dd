#include <QVRoot/Utilities/GuidTextImpl.hpp>

namespace QV::Impl {

namespace {

template <class Unit>
class GroupReader {
public:
    GroupReader(const Unit* text, const Unit* end) noexcept : text_(text), end_(end) {}

    /// Passes over what is no digit; false at the end.
    bool FindDigit() noexcept
    {
        while (!IsAtEnd() && GetDigit() < 0) {
            ++text_;
        }
        return !IsAtEnd();
    }

    /// False when fewer digits stand here.
    bool Read(UInt32 digits, UInt32& value) noexcept
    {
        value = 0;
        for (UInt32 i = 0; i < digits; ++i, ++text_) {
            const int digit = IsAtEnd() ? -1 : GetDigit();
            if (digit < 0) {
                return false;
            }
            value = value << 4 | static_cast<UInt32>(digit);
        }
        return true;
    }

private:
    bool IsAtEnd() const noexcept { return end_ == nullptr ? *text_ == 0 : text_ == end_; }

    int GetDigit() const noexcept
    {
        const int c = *text_;
        if (c >= '0' && c <= '9') {
            return c - '0';
        }
        const int letter = c | 0x20;
        return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
    }

    const Unit* text_;
    const Unit* end_;
};

constexpr UInt32 groupCount = 11;
constexpr UInt8 groupDigits[groupCount] = {8, 4, 4, 2, 2, 2, 2, 2, 2, 2, 2};

Guid MakeGuid(const UInt32 (&groups)[groupCount]) noexcept
{
    UInt8 bytes[8];
    for (UInt32 i = 0; i < 8; ++i) {
        bytes[i] = static_cast<UInt8>(groups[3 + i]);
    }
    return Guid(groups[0], static_cast<UInt16>(groups[1]), static_cast<UInt16>(groups[2]), bytes);
}

char* PrintDigits(UInt32 value, UInt32 digits, char* text) noexcept
{
    for (UInt32 i = 0; i < digits; ++i) {
        text[i] = "0123456789ABCDEF"[value >> 4 * (digits - 1 - i) & 15];
    }
    return text + digits;
}

} // namespace

template <class Unit>
QVErrCode ParseGuidPlainly(const Unit* text, const Unit* end, bool prefix, Guid& value) noexcept
{
    GroupReader<Unit> reader(text, end);
    UInt32 groups[groupCount] = {};
    for (UInt32 i = 0; i < groupCount; ++i) {
        if (!reader.FindDigit() && prefix && i > 0) {
            break;
        }
        if (!reader.Read(groupDigits[i], groups[i])) {
            return ErrGuidFormat;
        }
    }
    value = MakeGuid(groups);
    return NoError;
}

template QVErrCode ParseGuidPlainly(const char*, const char*, bool, Guid&) noexcept;
template QVErrCode ParseGuidPlainly(const unsigned short*, const unsigned short*, bool, Guid&) noexcept;

void PrintGuidPlainly(const Guid& value, char* text) noexcept
{
    text = PrintDigits(value.GetData1(), 8, text);
    *text++ = '-';
    text = PrintDigits(value.GetData2(), 4, text);
    *text++ = '-';
    text = PrintDigits(value.GetData3(), 4, text);
    for (UInt32 i = 0; i < 8; ++i) {
        if (i == 0 || i == 2) {
            *text++ = '-';
        }
        text = PrintDigits(value.GetData4()[i], 2, text);
    }
}

} // namespace QV::Impl
