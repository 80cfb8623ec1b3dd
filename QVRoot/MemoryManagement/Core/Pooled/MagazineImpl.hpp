/// A stack of free blocks of one class, which moves as a whole between a thread and the central list.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>
#include <QVRoot/MemoryManagement/Core/Pooled/SizeClassesImpl.hpp>

namespace QV::Impl::Pooled {

inline constexpr USize MagazineSize = 512;

/// While a thread has it loaded, only the thread's pointer to the top counts; the magazine is found from
/// that pointer by its alignment. `count` is right at all other times.
struct alignas(MagazineSize) Magazine {
    Magazine* next; ///< in a stack of the central list
    USize count;
    void* floor; ///< always null: what a pop from an empty magazine finds
    void* blocks[MaxMagazineCapacity];
};
static_assert(sizeof(Magazine) == MagazineSize);

/// The magazine of a pointer behind its topmost block.
inline Magazine* GetMagazine(void** top) noexcept
{
    return reinterpret_cast<Magazine*>((reinterpret_cast<USize>(top) - 1) & ~(MagazineSize - 1));
}

/// A stack of magazines. Zero-initialised it is empty.
class MagazineStack {
public:
    UInt32 GetCount() const noexcept { return count_; }

    void Push(Magazine* magazine) noexcept
    {
        magazine->next = top_;
        top_ = magazine;
        ++count_;
    }
    /// The topmost one, or null.
    Magazine* Pop() noexcept
    {
        Magazine* const magazine = top_;
        if (magazine != nullptr) {
            top_ = magazine->next;
            --count_;
        }
        return magazine;
    }

private:
    Magazine* top_ = nullptr;
    UInt32 count_ = 0;
};

} // namespace QV::Impl::Pooled
