/// The log's rings: a fixed number of slots that are filled one after the other and again from the first.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

template <class T, UInt32 Slots>
class LogRing {
public:
    static_assert(Slots < 0xFE);
    static constexpr UInt8 New = 0xFE;

    void Clear() noexcept
    {
        position_ = 0;
        filled_ = 0;
    }

    /// The slot that holds the value, or `New` when none did: then the next one holds it now.
    UInt8 Compress(T value) noexcept
    {
        // Where the value was last time. Anything may stand there, so it is only believed if the slot agrees.
        UInt8& hint = hints_[static_cast<UInt32>(value) % 256];
        if (hint < filled_ && values_[hint] == value) [[likely]] {
            return hint;
        }
        return Search(value, hint);
    }

private:
    UInt8 Search(T value, UInt8& hint) noexcept
    {
        for (UInt32 i = 0; i < filled_; ++i) {
            if (values_[i] == value) {
                return hint = static_cast<UInt8>(i);
            }
        }
        values_[position_] = value;
        hint = static_cast<UInt8>(position_);
        position_ = (position_ + 1) % Slots;
        filled_ += filled_ < Slots;
        return New;
    }

    UInt32 position_ = 0;
    UInt32 filled_ = 0;
    UInt8 hints_[256] = {};
    T values_[Slots] = {};
};

} // namespace QV::Impl
