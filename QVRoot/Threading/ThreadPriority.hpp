/// A thread's priority: from 1, the lowest, to 10. The system knows five steps, so that two numbers share
/// one.
///
/// Threads: a value.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <compare>

namespace QV {

class ThreadPriority {
public:
    static constexpr Int32 Lowest = 1;
    static constexpr Int32 Normal = 5;
    static constexpr Int32 Highest = 10;

    /// Not checked here, but where it is used.
    constexpr ThreadPriority(int index) noexcept : index_(index) {}

    constexpr Int32 GetIndex() const noexcept { return index_; }

    constexpr auto operator<=>(const ThreadPriority& other) const noexcept = default;
    constexpr auto operator<=>(int index) const noexcept { return index_ <=> index; }
    constexpr bool operator==(int index) const noexcept { return index_ == index; }

private:
    Int32 index_;
};

} // namespace QV
