/// An array that grows in place, in virtual memory of its own: no element ever moves, no heap is involved.
#pragma once

#include <QVRoot/MemoryManagement/Core/VirtualMemoryImpl.hpp>

#include <algorithm>

namespace QV::Impl {

/// Elements are plain data whose zero is a valid value. The memory is never given back.
template <class T>
class ReservedArray {
public:
    constexpr ReservedArray() noexcept = default;
    ReservedArray(const ReservedArray&) = delete;
    ReservedArray& operator=(const ReservedArray&) = delete;

    /// Sets address space aside, for fewer elements where the system refuses so many.
    void Reserve(USize capacity) noexcept
    {
        for (; elements_ == nullptr && capacity != 0; capacity /= 2) {
            elements_ = static_cast<T*>(VirtualMemory::Reserve(RoundUp(capacity * sizeof(T))));
            reserved_ = capacity * sizeof(T);
        }
    }

    /// Makes the first `count` elements usable; false when there is no room or no memory.
    bool Extend(USize count) noexcept
    {
        const USize size = RoundUp(count * sizeof(T));
        if (size <= committed_) {
            return true;
        }
        if (elements_ == nullptr || count * sizeof(T) > reserved_) {
            return false;
        }
        const USize target = std::min(size + CommitStep, RoundUp(reserved_));
        if (!VirtualMemory::Commit(reinterpret_cast<char*>(elements_) + committed_, target - committed_)) {
            return false;
        }
        committed_ = target;
        return true;
    }

    T& operator[](USize index) noexcept { return elements_[index]; }
    const T& operator[](USize index) const noexcept { return elements_[index]; }

private:
    static constexpr USize CommitStep = 65536;

    static USize RoundUp(USize size) noexcept
    {
        const USize page = VirtualMemory::GetPageSize();
        return (size + page - 1) & ~(page - 1);
    }

    T* elements_ = nullptr;
    USize reserved_ = 0;
    USize committed_ = 0;
};

} // namespace QV::Impl
