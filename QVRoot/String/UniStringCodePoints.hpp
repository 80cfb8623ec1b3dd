/// A string as a sequence of characters instead of units.
///
///     for (char32_t c : text.GetCodePoints()) …
///
/// Half of a surrogate pair is a character of its own. Valid until the string is changed or destroyed.
#pragma once

#include <QVRoot/String/UniString.hpp>

#include <cstddef>
#include <iterator>

namespace QV {

class UniString::CodePoints {
public:
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = char32_t;
        using difference_type = std::ptrdiff_t;
        using pointer = const char32_t*;
        using reference = char32_t;

        constexpr Iterator() noexcept = default;
        constexpr Iterator(const char16_t* unit, const char16_t* end) noexcept : unit_(unit), end_(end) {}

        constexpr char32_t operator*() const noexcept
        {
            return IsPair() ? (char32_t{unit_[0]} << 10) + unit_[1] - 0x35FDC00 : char32_t{unit_[0]};
        }
        constexpr Iterator& operator++() noexcept
        {
            unit_ += IsPair() ? 2 : 1;
            return *this;
        }
        constexpr Iterator operator++(int) noexcept
        {
            const Iterator old = *this;
            ++*this;
            return old;
        }
        friend constexpr bool operator==(const Iterator& a, const Iterator& b) noexcept
        {
            return a.unit_ == b.unit_;
        }

    private:
        constexpr bool IsPair() const noexcept
        {
            return (unit_[0] & 0xFC00) == 0xD800 && unit_ + 1 != end_ && (unit_[1] & 0xFC00) == 0xDC00;
        }

        const char16_t* unit_ = nullptr;
        const char16_t* end_ = nullptr;
    };

    constexpr explicit CodePoints(std::u16string_view units) noexcept : units_(units) {}

    constexpr Iterator begin() const noexcept { return {units_.data(), GetEnd()}; }
    constexpr Iterator end() const noexcept { return {GetEnd(), GetEnd()}; }

private:
    constexpr const char16_t* GetEnd() const noexcept { return units_.data() + units_.size(); }

    std::u16string_view units_;
};

inline UniString::CodePoints UniString::GetCodePoints() const& noexcept
{
    return CodePoints(GetView());
}

} // namespace QV
