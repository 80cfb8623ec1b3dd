/// The symbols with which the user's locale writes numbers. Conversions in the library do not use them; they
/// are for text that is shown to the user.
///
///     DigitGroupingSpecification groups = GetDigitGroupingSpecification();
///     for (auto size = groups.begin(); size != groups.end() && digitsLeft > *size; ++size) …
///
/// All values are determined on first use and stay the same until the process ends. On Windows they are those
/// of the user's default locale, on Linux those of the environment's `LC_NUMERIC`, which has no list
/// separator.
///
/// Threads: any. Errors: nothing throws but copies of a specification, for lack of memory.
#pragma once

#include <QVRoot/Containers/Array.hpp>

namespace QV {

/// UTF-16 units. The three are made to differ where the locale's own do not: the list separator from the
/// decimal symbol, the grouping symbol likewise.
QV_EXPORT unsigned short GetDecimalSymbol();
QV_EXPORT unsigned short GetDigitGroupingSymbol();
QV_EXPORT unsigned short GetListSeparatorSymbol();

/// Sizes of the groups of digits, from the decimal symbol leftward.
class QV_EXPORT DigitGroupingSpecification {
public:
    enum RepeatOption : int {
        NoRepeat = 0,   ///< no grouping beyond the listed groups
        RepeatLast = 1, ///< the last size goes on
    };

    class ConstIterator;

    DigitGroupingSpecification() = default;
    DigitGroupingSpecification(const Array<unsigned char>& sizes, RepeatOption repeat);

    void Set(const Array<unsigned char>& sizes, RepeatOption repeat);

    const Array<unsigned char>& GetSizes() const noexcept { return sizes_; }
    RepeatOption GetRepeatOption() const noexcept { return repeat_; }

    inline ConstIterator begin() const noexcept;
    inline ConstIterator end() const noexcept;

private:
    Array<unsigned char> sizes_;
    RepeatOption repeat_ = NoRepeat;
};

/// Walks the sizes. With a size that repeats, the walk never reaches `end()`, and an iterator behind the
/// listed sizes equals nothing, itself included.
class DigitGroupingSpecification::ConstIterator {
public:
    /// The size of the group; 0 where there is none.
    unsigned char operator*() const noexcept
    {
        const UInt32 count = specification_->sizes_.GetCount();
        const UInt32 index = Repeats() && index_ >= count ? count - 1 : index_;
        return index < count ? specification_->sizes_[index] : 0;
    }

    ConstIterator& operator++() noexcept
    {
        index_ += index_ < specification_->sizes_.GetCount();
        return *this;
    }

    friend bool operator==(const ConstIterator& a, const ConstIterator& b) noexcept
    {
        const bool isListed = !a.Repeats() || a.index_ < a.specification_->GetSizes().GetCount();
        return a.specification_ == b.specification_ && a.index_ == b.index_ && isListed;
    }

private:
    friend class DigitGroupingSpecification;

    ConstIterator(const DigitGroupingSpecification& specification, UInt32 index) noexcept
        : specification_(&specification), index_(index)
    {
    }

    bool Repeats() const noexcept { return specification_->repeat_ == RepeatLast; }

    const DigitGroupingSpecification* specification_;
    UInt32 index_;
};

DigitGroupingSpecification::ConstIterator DigitGroupingSpecification::begin() const noexcept
{
    return ConstIterator(*this, 0);
}

DigitGroupingSpecification::ConstIterator DigitGroupingSpecification::end() const noexcept
{
    return ConstIterator(*this, sizes_.GetCount());
}

/// The user's way of grouping digits.
QV_EXPORT DigitGroupingSpecification GetDigitGroupingSpecification();

} // namespace QV
