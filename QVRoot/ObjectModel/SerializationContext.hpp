/// What the code that starts a serialization tells the objects deep inside it: 32 flags and ten pointers.
///
///     static const SerializationContext::Flag compact;
///     channel.GetOutputContext().Set(compact);
///
/// Flags and pointers are made as statics while the program starts; at most 32 flags and ten pointers exist.
/// A flag beyond the 32nd has an empty mask; a pointer beyond the tenth stores nothing.
///
/// Threads: a context is used by one thread at a time. Errors: none. Allocation: none.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

class QV_EXPORT SerializationContext {
public:
    static constexpr UInt32 PointerCount = 10;

    /// One bit of the flag word: 1, 2, 4, … in the order of construction.
    class QV_EXPORT Flag {
    public:
        Flag();
        UInt32 GetMask() const noexcept { return mask_; }

    private:
        UInt32 mask_;
    };

    /// One pointer slot: 0, 1, 2, … in the order of construction.
    class QV_EXPORT Pointer {
    public:
        Pointer();
        UInt32 GetIndex() const noexcept { return index_; }

    private:
        UInt32 index_;
    };

    constexpr SerializationContext() noexcept = default;

    void Set(const Flag& flag) noexcept { flags_ |= flag.GetMask(); }
    void Set(const Flag& flag, bool value) noexcept { value ? Set(flag) : Clear(flag); }
    void Clear(const Flag& flag) noexcept { flags_ &= ~flag.GetMask(); }
    bool Get(const Flag& flag) const noexcept { return (flags_ & flag.GetMask()) != 0; }
    bool IsSet(const Flag& flag) const noexcept { return Get(flag); }

    void Set(const Pointer& pointer, void* value) noexcept
    {
        if (IsValid(pointer)) {
            pointers_[pointer.GetIndex()] = value;
        }
    }
    void* Get(const Pointer& pointer) const noexcept
    {
        return IsValid(pointer) ? pointers_[pointer.GetIndex()] : nullptr;
    }
    void Clear(const Pointer& pointer) noexcept { Set(pointer, nullptr); }
    bool IsSet(const Pointer& pointer) const noexcept { return Get(pointer) != nullptr; }

private:
    static bool IsValid(const Pointer& pointer) noexcept { return pointer.GetIndex() < PointerCount; }

    UInt32 flags_ = 0;
    void* pointers_[PointerCount] = {};
};

} // namespace QV
