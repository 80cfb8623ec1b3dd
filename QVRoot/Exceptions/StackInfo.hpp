/// A record of the calling thread's stack: up to a fixed number of return addresses.
///
///     StackInfoCustomDepth<128> stack;
///     stack.Capture();
///     char line[256];
///     for (UInt32 i = 0; i < stack.GetDepth(); ++i) {
///         stack.Describe(i, line, sizeof line);
///     }
///
/// Units: an address is the one behind a call; entry 0 lies in the function that called `Capture`, the last
/// entry in the thread's start (or wherever the record was full).
/// Threads: a record belongs to one thread at a time; captures on many threads do not slow each other down.
/// Errors: none. A frame that cannot be followed (damaged, or code without unwind tables) ends the record.
/// Allocation: none for capturing, copying and reading addresses. Naming an address may use the C heap.
/// Cost: some nanoseconds per frame once the frame's code has been seen before; copying costs as much as the
/// addresses in use.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <cstring>

namespace QV {

class OChannel;

/// The part that does not depend on the capacity. Exists only as the base of `StackInfoCustomDepth`.
class QV_EXPORT StackInfo {
public:
    /// Records the stack of the caller, without its innermost `skip` frames.
    void Capture(UInt32 skip = 0) noexcept;

    void Clear() noexcept { depth_ = 0; }

    UInt32 GetDepth() const noexcept { return depth_; }
    UInt32 GetCapacity() const noexcept { return capacity_; }

    /// Null from `GetDepth()` on.
    void* GetAddress(UInt32 index) const noexcept { return index < depth_ ? GetAddresses()[index] : nullptr; }

    /// Writes "function+0x12 (module) [file:line]", as far as known, cut to `size` bytes with the terminator.
    void Describe(UInt32 index, char* text, USize size) const;

    /// Writes a line per entry: number, address, description.
    void Print(OChannel& channel) const;

protected:
    explicit constexpr StackInfo(UInt32 capacity) noexcept : depth_(0), capacity_(capacity) {}
    StackInfo(const StackInfo&) = delete;
    StackInfo& operator=(const StackInfo&) = delete;
    ~StackInfo() = default;

    /// The addresses lie directly behind this object.
    void* const* GetAddresses() const noexcept { return reinterpret_cast<void* const*>(this + 1); }
    void** GetAddresses() noexcept { return reinterpret_cast<void**>(this + 1); }

    UInt32 depth_;
    UInt32 capacity_;
};

/// A record with room for `Capacity` addresses. Starts empty; the room behind the depth is not initialised.
template <UInt32 Capacity>
class StackInfoCustomDepth : public StackInfo {
    static_assert(Capacity > 0);

public:
    StackInfoCustomDepth() noexcept : StackInfo(Capacity)
    {
        static_assert(sizeof(*this) == sizeof(StackInfo) + Capacity * sizeof(void*));
    }
    StackInfoCustomDepth(const StackInfoCustomDepth& other) noexcept : StackInfo(Capacity) { Assign(other); }
    StackInfoCustomDepth& operator=(const StackInfoCustomDepth& other) noexcept
    {
        Assign(other);
        return *this;
    }
    ~StackInfoCustomDepth() = default;

private:
    void Assign(const StackInfoCustomDepth& other) noexcept
    {
        depth_ = other.depth_;
        std::memmove(addresses_, other.addresses_, depth_ * sizeof(void*));
    }

    void* addresses_[Capacity];
};

static_assert(sizeof(StackInfo) == 8);

} // namespace QV
