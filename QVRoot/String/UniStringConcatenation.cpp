// Turning a chain of operands into a string.
#include <QVRoot/String/UniStringImpl.hpp>

#include <algorithm>

namespace QV {

static_assert(sizeof(UniString::Concatenation) == 176);

UniString::Concatenation::Concatenation(const Concatenation& other)
    : accumulator_(other.accumulator_ == nullptr ? nullptr : new UniString(*other.accumulator_)),
      count_(other.count_)
{
    std::copy_n(other.entries_, count_, entries_);
}

UniString::Concatenation& UniString::Concatenation::operator=(const Concatenation& other)
{
    if (this != &other) {
        UniString* const accumulator =
            other.accumulator_ == nullptr ? nullptr : new UniString(*other.accumulator_);
        delete accumulator_;
        accumulator_ = accumulator;
        count_ = other.count_;
        std::copy_n(other.entries_, count_, entries_);
    }
    return *this;
}

void UniString::Concatenation::Add(const Concatenation& other)
{
    const UInt32 count = Impl::RequireReference(other).count_;
    const UniString* const accumulator = other.accumulator_;
    if (accumulator != nullptr) {
        Add(*accumulator);
    }
    for (UInt32 i = 0; i < count; ++i) {
        const Entry entry = other.entries_[i];
        NewEntry(entry.kind) = entry;
    }
}

/// Joins what is there into the accumulator, so that entries become free.
void UniString::Concatenation::Fold()
{
    UniString joined(*this);
    if (accumulator_ == nullptr) {
        accumulator_ = new UniString;
    }
    *accumulator_ = std::move(joined);
    count_ = 0;
}

void UniString::Concatenation::RefuseNullReference()
{
    --count_;
    Impl::ThrowNullReference();
}

void UniString::Concatenation::RefuseNullPointer()
{
    --count_;
    Impl::ThrowNullText();
}

/// Where the units of each operand are; of 8-bit text only how many there will be.
struct UniString::Concatenation::Operands {
    explicit Operands(const Concatenation& whole)
    {
        UInt64 sum = 0;
        Impl::UnitRange* range = ranges;
        if (whole.accumulator_ != nullptr) [[unlikely]] {
            *range = Impl::GetUnits(*whole.accumulator_);
            sum += range++->length;
        }
        const Entry* const end = whole.entries_ + whole.count_;
        for (const Entry* entry = whole.entries_; entry != end; ++entry, ++range) {
            const Impl::UnitRange found = Find(*entry, static_cast<UInt32>(range - ranges));
            *range = found;
            sum += found.length;
        }
        rangesEnd = range;
        total = sum;
    }

    /// Copies them all and answers the end of what was written.
    unsigned short* CopyTo(unsigned short* to) const
    {
        for (const Impl::UnitRange* range = ranges; range != rangesEnd; ++range) {
            if (range->units != nullptr) [[likely]] {
                Impl::CopyUnits(to, range->units, range->length);
                to += range->length;
            } else if (range->length != 0) {
                const USize i = static_cast<USize>(range - ranges);
                to += UniChar::ANSIToUnicode(bytes[i], byteCounts[i], to, range->length, DefaultCharCode);
            }
        }
        return to;
    }

    UInt64 total;

private:
    Impl::UnitRange Find(const Entry& entry, UInt32 i)
    {
        // The two most frequent kinds first.
        if (entry.kind == StringOperand) {
            return Impl::GetUnits(static_cast<const UniString*>(entry.pointer)->GetView());
        }
        if (entry.kind == UnitOperand) {
            return {&entry.unit, 1};
        }
        switch (entry.kind) {
        case ConstSubstringOperand:
            return Impl::GetUnits(static_cast<const ConstSubstring*>(entry.pointer)->GetView());
        case SubstringOperand:
            return Impl::GetUnits(static_cast<const Substring*>(entry.pointer)->GetView());
        case UnitsOperand: {
            const auto* const units = static_cast<const unsigned short*>(entry.pointer);
            return {units, Impl::GetTerminatedLength(units)};
        }
        default:
            bytes[i] = static_cast<const char*>(entry.pointer);
            byteCounts[i] = Impl::GetTerminatedLength(bytes[i]);
            return {nullptr, Impl::CountUnits(bytes[i], byteCounts[i], DefaultCharCode)};
        }
    }

    Impl::UnitRange* rangesEnd;
    Impl::UnitRange ranges[most + 1];
    const char* bytes[most + 1];
    UInt32 byteCounts[most + 1];
};

/// Whether an operand is the target, is a view of it or points into its buffer.
bool UniString::Concatenation::RefersTo(const UniString& target) const
{
    return std::any_of(entries_, entries_ + count_, [&target](const Entry& entry) {
        switch (entry.kind) {
        case UnitOperand:
            return false;
        case StringOperand:
            return entry.pointer == &target;
        case ConstSubstringOperand:
            return static_cast<const ConstSubstring*>(entry.pointer)->string_ == &target;
        case SubstringOperand:
            return static_cast<const Substring*>(entry.pointer)->string_ == &target;
        default:
            return target.PointsInside(entry.pointer);
        }
    });
}

UniString::UniString(const Concatenation& text)
{
    const Concatenation::Operands operands(Impl::RequireReference(text));
    buffer_ = AllocateBuffer(static_cast<UInt32>(std::min<UInt64>(operands.total, Npos)));
    if (operands.total != 0) {
        buffer_->length = static_cast<UInt32>(operands.CopyTo(buffer_->content) - buffer_->content);
    }
}

UniString& UniString::operator=(const Concatenation& text)
{
    if (Impl::RequireReference(text).RefersTo(*this)) {
        return *this = UniString(text);
    }
    const Concatenation::Operands operands(text);
    AboutToModify(static_cast<UInt32>(std::min<UInt64>(operands.total, Npos)));
    if (operands.total != 0) {
        buffer_->length = static_cast<UInt32>(operands.CopyTo(buffer_->content) - buffer_->content);
    }
    return *this;
}

} // namespace QV
