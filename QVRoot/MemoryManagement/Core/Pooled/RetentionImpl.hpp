/// How many bytes of free memory are kept for reuse instead of going back to the system.
///
/// The limit starts low. Giving memory back and needing it again soon after raises it; what is kept without
/// being needed lowers it. So a program that allocates and frees in waves stops paying for page faults, and
/// one that merely shrinks keeps little.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl::Pooled {

/// A clock for retention: milliseconds from some fixed time.
UInt64 GetMilliseconds() noexcept;

class Retention {
public:
    static constexpr USize LeastBytes = USize{2} << 20;
    static constexpr USize MostBytes = USize{64} << 20;
    /// Free memory that nobody has touched for so long goes back at the next opportunity.
    static constexpr UInt64 KeepMilliseconds = 500;

    USize GetLimit() const noexcept { return limit_; }

    void NoteGivenBack(USize bytes) noexcept { givenBack_ += bytes; }

    /// Memory was needed that has none behind it.
    void NoteRefilled(USize bytes) noexcept
    {
        const USize regretted = bytes < givenBack_ ? bytes : givenBack_;
        givenBack_ -= regretted;
        limit_ = limit_ + regretted < MostBytes ? limit_ + regretted : MostBytes;
    }

    /// To be called with what is kept after each time that some was taken.
    void NoteKept(USize bytes) noexcept { idle_ = bytes < idle_ ? bytes : idle_; }

    /// To be called with the clock and with what is kept, now and then. Answers the limit.
    USize Advance(UInt64 now, USize kept) noexcept
    {
        if (now - epoch_ < EpochMilliseconds) {
            return limit_;
        }
        limit_ = limit_ - idle_ / 2 > LeastBytes && limit_ > idle_ ? limit_ - idle_ / 2 : LeastBytes;
        epoch_ = now;
        idle_ = kept;
        givenBack_ = 0;
        return limit_;
    }

private:
    static constexpr UInt64 EpochMilliseconds = 1000;

    USize limit_ = LeastBytes;
    USize givenBack_ = 0; ///< in this epoch, and not needed again since
    USize idle_ = 0;      ///< the least that was kept in this epoch
    UInt64 epoch_ = 0;
};

} // namespace QV::Impl::Pooled
