#include <QVRoot/MemoryManagement/BlockMemoryImpl.hpp>
#include <QVRoot/MemoryManagement/ByteSearchImpl.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <cstring>
#include <string_view>

namespace QV {

using namespace Impl;

namespace {

struct Outcome {
    Int32 offset;
    QVErrCode error;
};

constexpr Outcome Miss = {-1, NoError};
constexpr Outcome OutOfMemory = {-1, ErrMemoryFull};

/// The bytes to insert. Those that lie in the handle itself are copied, since it is about to move them.
class Replacement {
public:
    Replacement(const void* bytes, Int32 length) noexcept
        : bytes_(static_cast<const char*>(bytes)), length_(length)
    {
    }
    ~Replacement() { MemoryManager::Free(copy_); }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    Int32 GetLength() const noexcept { return length_; }

    /// Answers false when there is no memory.
    bool DetachFrom(const HandleRecord& record)
    {
        USize offset;
        if (length_ == 0 || !FindInBlock(record, bytes_, offset)) {
            return true;
        }
        const USize length = static_cast<USize>(length_);
        char* target = local_;
        if (length > sizeof(local_)) {
            copy_ = MemoryManager::Allocate(length, MemoryManager::ReturnNullOnFailure, false);
            target = static_cast<char*>(copy_);
        }
        if (target == nullptr) {
            return false;
        }
        bytes_ = static_cast<const char*>(std::memcpy(target, bytes_, length));
        return true;
    }

    /// Null bytes leave the target as it is.
    void WriteTo(char* target) const noexcept
    {
        if (bytes_ != nullptr && length_ != 0) {
            std::memcpy(target, bytes_, static_cast<size_t>(length_));
        }
    }

private:
    const char* bytes_;
    Int32 length_;
    void* copy_ = nullptr;
    char local_[128];
};

/// The order of the steps is part of the behaviour: growth comes before the range is tested.
Outcome Replace(QVHandle handle, Int64 offset, Int64 oldLength, Replacement& replacement)
{
    const HandleRecord& record = GetRecord(handle);
    const Int64 size = record.size;
    const Int64 newLength = replacement.GetLength();
    const Int64 newSize = size + newLength - oldLength;
    if (newLength < 0 || !replacement.DetachFrom(record)) {
        return OutOfMemory;
    }
    if (newSize > size && ResizeHandle(handle, newSize) != NoError) {
        return OutOfMemory;
    }
    const Int64 tail = size - offset - oldLength;
    if (tail < 0) {
        return Miss;
    }
    if (newSize != size && tail > 0) {
        std::memmove(record.data + offset + newLength, record.data + offset + oldLength,
                     static_cast<size_t>(tail));
    }
    if (newSize < size && ResizeHandle(handle, newSize) != NoError) {
        return OutOfMemory;
    }
    replacement.WriteTo(record.data + offset);
    return {static_cast<Int32>(offset + newLength), NoError};
}

/// The offset of the first match, or -1.
Int32 Find(QVHandle handle, Int32 offset, const void* pattern, Int32 length) noexcept
{
    const HandleRecord& record = GetRecord(handle);
    const std::string_view range(record.data + offset, static_cast<size_t>(record.size - offset));
    const size_t found = FindBytes(range, {static_cast<const char*>(pattern), static_cast<size_t>(length)});
    return found == std::string_view::npos ? -1 : offset + static_cast<Int32>(found);
}

Outcome MungeMatch(QVHandle handle, Int32 offset, const void* pattern, Int32 patternLength,
                   const void* replacement, Int32 replacementLength)
{
    Replacement bytes(replacement, replacementLength);
    if (patternLength == 0) {
        return Replace(handle, offset, 0, bytes);
    }
    const Int32 match = patternLength < 0 ? -1 : Find(handle, offset, pattern, patternLength);
    if (match < 0 || replacement == nullptr) {
        return {match, NoError};
    }
    return Replace(handle, match, patternLength, bytes);
}

Outcome MungeRange(QVHandle handle, Int32 offset, Int32 length, const void* replacement,
                   Int32 replacementLength)
{
    Replacement bytes(replacement, replacementLength);
    return Replace(handle, offset, length < 0 ? GetRecord(handle).size - offset : length, bytes);
}

} // namespace

Int32 BMMunger(QVHandle handle, Int32 offset, const void* pattern, Int32 patternLength,
               const void* replacement, Int32 replacementLength)
{
    Int32 size;
    Outcome outcome = Miss;
    outcome.error = QueryHandleSize(handle, size);
    if (outcome.error == NoError && offset >= 0 && offset <= size) {
        outcome = pattern != nullptr
                      ? MungeMatch(handle, offset, pattern, patternLength, replacement, replacementLength)
                      : MungeRange(handle, offset, patternLength, replacement, replacementLength);
    }
    SetOuterError(outcome.error);
    return outcome.offset;
}

} // namespace QV
