#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/FormatOutputImpl.hpp>
#include <QVRoot/String/String.hpp>

#include <algorithm>

namespace QV {

namespace {

bool IsAscii(std::string_view text) noexcept
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

void MapAsciiCase(char* text, UInt32 length, UniChar::Case target) noexcept
{
    const char first = target == UniChar::UpperCase ? 'a' : 'A';
    for (UInt32 i = 0; i < length; ++i) {
        if (text[i] >= first && text[i] < first + 26) {
            text[i] = static_cast<char>(text[i] ^ 0x20);
        }
    }
}

/// The units of a text, and room for as many again.
class UnitPairs {
public:
    explicit UnitPairs(UInt32 count) noexcept
        : units_(static_cast<unsigned short*>(MemoryManager::Allocate(
              USize{count} * 2 * sizeof(unsigned short), MemoryManager::ReturnNullOnFailure, true)))
    {
    }
    ~UnitPairs() { MemoryManager::Free(units_); }
    UnitPairs(const UnitPairs&) = delete;
    UnitPairs& operator=(const UnitPairs&) = delete;

    unsigned short* Get() const noexcept { return units_; }

private:
    unsigned short* units_;
};

UInt32 GetLossless(const unsigned short* units, UInt32 count)
{
    return UniChar::GetANSILength(units, count, DefaultCharCode, ThrowOnConversionError);
}

/// Takes back what the code page does not have.
void KeepToCodePage(unsigned short* mapped, const unsigned short* units, UInt32 count)
{
    for (UInt32 i = 0; i < count; ++i) {
        if (mapped[i] != units[i] && GetLossless(mapped + i, 1) == 0) {
            mapped[i] = units[i];
        }
    }
}

} // namespace

void String::MapCase(UniChar::Case target)
{
    const UInt32 count =
        IsAscii(GetView()) ? 0 : UniChar::GetUnicodeLength(buffer_, length_, DefaultCharCode);
    if (count == 0) {
        MapAsciiCase(buffer_, length_, target);
        return;
    }
    const UnitPairs pairs(count);
    unsigned short* const units = pairs.Get();
    if (units == nullptr) {
        OutOfMemory();
        return;
    }
    unsigned short* const mapped = units + count;
    UniChar::ANSIToUnicode(buffer_, length_, units, count, DefaultCharCode);
    if (!UniChar::ConvertCase(units, count, mapped, count, target)) {
        return;
    }
    if (GetLossless(mapped, count) == 0) {
        KeepToCodePage(mapped, units, count);
    }
    const UInt32 length = UniChar::GetANSILength(mapped, count, DefaultCharCode, ConvertLossy);
    if (length != 0 && SetLength(length) == NoError) {
        UniChar::UnicodeToANSI(mapped, count, buffer_, length, DefaultCharCode, ConvertLossy);
    }
}

String String::ToLowerCase() const
{
    String copy(*this);
    copy.SetToLowerCase();
    return copy;
}

String String::ToUpperCase() const
{
    String copy(*this);
    copy.SetToUpperCase();
    return copy;
}

QVErrCode String::FormatInto(const char* format, const FormatArgument* arguments, UInt32 count,
                             bool isChecked)
{
    // Into a string of its own, since the arguments may refer to this one.
    String text;
    char piece[256];
    const auto append = [](void* context, const char* bytes, UInt32 length) {
        static_cast<String*>(context)->AppendBytes(bytes, length);
    };
    Impl::FormatOutput<char> output(piece, sizeof(piece), append, &text);
    Impl::PrintChecked(output, format, {arguments, count},
                       isChecked ? FormatCStrCheckedBefore : FormatCStrCheckDefault);
    output.Flush();
    if (text.isOutOfMemory_) {
        OutOfMemory();
    } else {
        Swap(text);
    }
    return GetStatus();
}

} // namespace QV
