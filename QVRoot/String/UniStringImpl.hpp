/// What the files behind `UniString`'s operations share: checks of arguments, text as the search sees it, and
/// 8-bit text made comparable.
#pragma once

#include <QVRoot/String/Search/TextSearchImpl.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/String/UniStringBufferImpl.hpp>

#include <cstring>

namespace QV::Impl {

// All of them report in the name of the class's main file.
[[noreturn]] void ThrowNullReference();
[[noreturn]] void ThrowIllegalRange();

/// Through a volatile pointer, since a compiler may take for granted that a reference is not null.
template <class Text>
const Text& RequireReference(const Text& text)
{
    const Text* const volatile address = &text;
    if (address == nullptr) [[unlikely]] {
        ThrowNullReference();
    }
    return text;
}

template <class Unit>
const Unit* RequireText(const Unit* text)
{
    if (text == nullptr) [[unlikely]] {
        ThrowNullText();
    }
    return text;
}

/// The length of zero-terminated text; what does not fit 32 bits is refused as a length always is.
UInt32 GetTerminatedLength(const char* text) noexcept;
UInt32 GetTerminatedLength(const unsigned short* text) noexcept;

/// The units that 8-bit text converts to.
UInt32 CountUnits(const char* text, UInt32 byteCount, QVCharCode code);

/// Copies without a call what is short. The two do not overlap.
inline void CopyUnits(unsigned short* to, const unsigned short* from, USize count) noexcept
{
    const auto copy = [to, from](USize at, auto& block) {
        std::memcpy(&block, from + at, sizeof(block));
        std::memcpy(to + at, &block, sizeof(block));
    };
    UInt64 four[2];
    if (count < 4) {
        if (count != 0) {
            to[0] = from[0];
            to[count / 2] = from[count / 2];
            to[count - 1] = from[count - 1];
        }
    } else if (count < 8) {
        copy(0, four[0]);
        copy(count - 4, four[0]);
    } else if (count <= 32) {
        for (USize i = 0; i + 8 < count; i += 8) {
            copy(i, four);
        }
        copy(count - 8, four);
    } else {
        std::memcpy(to, from, count * sizeof(unsigned short));
    }
}

/// Never null, not even for a string that was moved from.
inline UnitRange GetUnits(std::u16string_view text) noexcept
{
    static constexpr UInt16 none = 0;
    return {text.data() == nullptr ? &none : reinterpret_cast<const UInt16*>(text.data()),
            static_cast<UInt32>(text.size())};
}

/// As much of a range as the text has.
inline UnitRange GetUnits(std::u16string_view text, UInt32 start, UInt32 count) noexcept
{
    const UnitRange all = GetUnits(text);
    const UInt32 first = start < all.length ? start : all.length;
    const UInt32 rest = all.length - first;
    return {all.units + first, count < rest ? count : rest};
}

inline bool AreEqual(UnitRange a, UnitRange b) noexcept
{
    return a.length == b.length && std::memcmp(a.units, b.units, USize{a.length} * sizeof(UInt16)) == 0;
}

/// 8-bit text as units; short text is converted on the stack.
class ConvertedText {
public:
    ConvertedText(const char* text, UInt32 byteCount, QVCharCode code)
        : ConvertedText(text, byteCount, CountUnits(text, byteCount, code), code)
    {
    }
    /// With the number of units known.
    ConvertedText(const char* text, UInt32 byteCount, UInt32 unitCount, QVCharCode code);

    ConvertedText(const ConvertedText&) = delete;
    ConvertedText& operator=(const ConvertedText&) = delete;

    UnitRange GetUnits() const noexcept { return units_; }

private:
    static constexpr UInt32 most = 256;

    UInt16 local_[most];
    UniString long_;
    UnitRange units_;
};

} // namespace QV::Impl
