#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/CachedAllocatorImpl.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/String/UniStringBufferImpl.hpp>

#include <SingleThreadedImpl.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace QV {

namespace {

/// Beyond this many units a buffer's byte size would not fit 32 bits.
constexpr UInt64 maxUnits = 0x7FFFFFF0;

/// From this many units on, and only when half of the buffer or more is idle, shrinking pays.
constexpr UInt32 minShrinkUnits = 34;

constexpr UInt32 largestCachedSize = 80;

/// Size classes in front of the cache. A size that is exactly a class moves up to the next one, so that a
/// buffer always has a unit to spare for a terminator.
UInt32 RoundUpSmallSize(UInt32 size) noexcept
{
    return size >= largestCachedSize ? size : std::max(32u, (size / 16 + 1) * 16);
}

/// An atomic increment or decrement costs a locked bus cycle; while there is one thread, a plain one does.
void AddCount(TSRefCounter& counter) noexcept
{
    if (Impl::IsProcessSingleThreaded()) {
        counter.IncrementNonAtomic();
    } else {
        counter.Increment();
    }
}

UInt32 SubtractCount(TSRefCounter& counter) noexcept
{
    if (counter.Get() == 1 || Impl::IsProcessSingleThreaded()) {
        return counter.DecrementNonAtomic();
    }
    return counter.Decrement();
}

/// Copies without a call what is short.
void CopyUnits(unsigned short* to, const unsigned short* from, UInt32 count) noexcept
{
    constexpr UInt32 group = 8;
    if (count >= group && count <= 4 * group) {
        for (UInt32 i = 0; i + group < count; i += group) {
            std::memcpy(to + i, from + i, group * sizeof(unsigned short));
        }
        std::memcpy(to + count - group, from + count - group, group * sizeof(unsigned short));
    } else if (count != 0) {
        std::memcpy(to, from, count * sizeof(unsigned short));
    }
}

} // namespace

union EmptyUniStringHolder {
    constexpr EmptyUniStringHolder() noexcept : string(&buffer) {}
    ~EmptyUniStringHolder() {}

    UniString string;

    /// Its count includes its own reference, which is never given back, and that of `EmptyUniString`.
    static constinit UniString::SharedBuffer buffer;
};

constinit UniString::SharedBuffer EmptyUniStringHolder::buffer = {0, 0, TSRefCounter(2), 0, {0}};

static constinit EmptyUniStringHolder emptyUniString;

constinit const UniString& EmptyUniString = emptyUniString.string;

UniString::UniString() noexcept : buffer_(ShareEmptyBuffer()) {}

UniString::UniString(const UniString& other) noexcept
    : buffer_(other.buffer_ == nullptr ? ShareEmptyBuffer() : ShareBuffer(other.buffer_))
{
}

UniString::UniString(const unsigned short* text, unsigned int count)
{
    if (text == nullptr) [[unlikely]] {
        Impl::ThrowNullText();
    }
    buffer_ = AllocateBuffer(count);
    if (count != 0) {
        CopyUnits(buffer_->content, text, count);
        buffer_->length = count;
    }
}

UniString::~UniString()
{
    if (buffer_ != nullptr) {
        ReleaseBuffer(buffer_);
    }
}

UniString::SharedBuffer* UniString::EmptyBuffer() noexcept
{
    return &EmptyUniStringHolder::buffer;
}

UniString::SharedBuffer* UniString::ShareEmptyBuffer() noexcept
{
    return ShareBuffer(EmptyBuffer());
}

UniString::SharedBuffer* UniString::ShareBuffer(SharedBuffer* buffer) noexcept
{
    AddCount(buffer->refCounter);
    return buffer;
}

/// A private buffer of length 0 for at least `count` units; the shared empty buffer for none.
UniString::SharedBuffer* UniString::AllocateBuffer(UInt32 count)
{
    static_assert(offsetof(SharedBuffer, content) == HeaderSize);
    static_assert(CapacityToBufferSize(9) == 32 && BufferSizeToCapacity(32) == 9);
    if (count == 0) {
        return ShareEmptyBuffer();
    }
    if (count > maxUnits) {
        MemoryManager::Allocate(~USize{0}, MemoryManager::ThrowOnFailure, true);
    }
    UInt32 size = RoundUpSmallSize(2 * count + 16);
    auto* const buffer = static_cast<SharedBuffer*>(Impl::uniStringCache.Allocate(size, &size));
    buffer->length = 0;
    buffer->capacity = BufferSizeToCapacity(size);
    new (&buffer->refCounter) TSRefCounter(1);
    return buffer;
}

/// A private copy with room for at least `request` units; what does not fit is left out.
UniString::SharedBuffer* UniString::CopyBuffer(const SharedBuffer* source, UInt32 request)
{
    SharedBuffer* const copy = AllocateBuffer(request);
    if (copy->capacity != 0) {
        copy->length = std::min(source->length, copy->capacity);
        std::memcpy(copy->content, source->content, copy->length * sizeof(unsigned short));
    }
    return copy;
}

void UniString::FreeBuffer(SharedBuffer* buffer) noexcept
{
    Impl::uniStringCache.Free(buffer, CapacityToBufferSize(buffer->capacity));
}

void UniString::ReleaseBuffer(SharedBuffer* buffer) noexcept
{
    if (SubtractCount(buffer->refCounter) == 0) {
        FreeBuffer(buffer);
    }
}

/// Installs a buffer, one count of which is taken over.
void UniString::SetBuffer(SharedBuffer* buffer) noexcept
{
    SharedBuffer* const old = std::exchange(buffer_, buffer);
    if (old != nullptr) {
        ReleaseBuffer(old);
    }
}

/// Gives a string that was moved from a buffer again.
void UniString::MakeUsable() noexcept
{
    if (buffer_ == nullptr) [[unlikely]] {
        buffer_ = ShareEmptyBuffer();
    }
}

/// Moves the units of a private buffer into a new one. The old one is released last. What is too large for
/// the cache may grow where it is.
void UniString::Reallocate(UInt32 count)
{
    const UInt32 size = 2 * count + 16;
    if (count <= maxUnits && size > largestCachedSize &&
        CapacityToBufferSize(buffer_->capacity) > largestCachedSize) {
        buffer_ = static_cast<SharedBuffer*>(
            MemoryManager::Reallocate(buffer_, size, MemoryManager::ThrowOnFailure, true));
        buffer_->capacity = BufferSizeToCapacity(size);
    } else {
        SetBuffer(CopyBuffer(buffer_, count));
    }
    buffer_->length = std::min(buffer_->length, count);
}

void UniString::IncreaseCapacity(UInt64 count)
{
    if (count > buffer_->capacity) {
        if (count > maxUnits) {
            MemoryManager::Allocate(~USize{0}, MemoryManager::ThrowOnFailure, true);
        }
        const UInt64 grown = std::min(UInt64{buffer_->length} + buffer_->length / 2, maxUnits);
        Reallocate(static_cast<UInt32>(std::max(count, grown)));
    }
}

void UniString::DecreaseCapacity(UInt32 count)
{
    if (count < buffer_->capacity) {
        if (count == 0) {
            SetBuffer(ShareEmptyBuffer());
        } else if (count >= minShrinkUnits && count <= buffer_->capacity / 2) {
            Reallocate(count);
        }
    }
}

void UniString::AdjustCapacity(UInt32 count)
{
    if (count > buffer_->capacity) {
        IncreaseCapacity(count);
    } else {
        DecreaseCapacity(count);
    }
}

/// Makes the buffer private and gives it room for `count` units in all. The length is then at most that.
void UniString::AboutToModify(UInt32 count)
{
    MakeUsable();
    if (IsShared()) {
        SetBuffer(CopyBuffer(buffer_, count));
    } else {
        AdjustCapacity(count);
    }
}

void UniString::AboutToInsert(UInt32 count)
{
    MakeUsable();
    const UInt64 needed = UInt64{buffer_->length} + count;
    if (IsShared()) {
        SetBuffer(CopyBuffer(buffer_, static_cast<UInt32>(std::min<UInt64>(needed, 0xFFFFFFFF))));
    } else {
        IncreaseCapacity(needed);
    }
}

void UniString::AboutToDelete()
{
    MakeUsable();
    if (IsShared()) {
        SetBuffer(CopyBuffer(buffer_, buffer_->capacity));
    }
}

} // namespace QV
