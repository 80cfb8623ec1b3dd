#include <QVRoot/MemoryManagement/Core/HeapFunctions.h>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/MemoryManagement/Core/PathFunctionsImpl.hpp>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace QV {

namespace {

constexpr USize MaxSize = ~USize{0} - 31; // 2^64-32

void* Allocate(USize size)
{
    return MemoryManager::Allocate(size, MemoryManager::ReturnNullOnFailure, true);
}

/// `count` times `size` without overflow, neither the size nor the product above the limit.
bool Multiply(USize count, USize size, USize& product) noexcept
{
    product = count * size;
    return size <= MaxSize && (size == 0 || count <= MaxSize / size);
}

template <class Unit>
USize CountUnits(const Unit* text) noexcept
{
    const Unit* end = text;
    while (*end != 0) {
        ++end;
    }
    return static_cast<USize>(end - text);
}

template <class Unit>
Unit* Duplicate(const Unit* text)
{
    if (text == nullptr) {
        return nullptr;
    }
    const USize size = (CountUnits(text) + 1) * sizeof(Unit);
    auto* const copy = static_cast<Unit*>(Allocate(size));
    return copy == nullptr ? nullptr : static_cast<Unit*>(std::memcpy(copy, text, size));
}

/// What the runtime answered, in a block of ours when it made one of its own for want of a buffer.
template <class Unit>
Unit* TakeOver(Unit* result, const Unit* buffer)
{
    if (buffer != nullptr) {
        return result;
    }
    Unit* const copy = Duplicate(result);
    std::free(result);
    return copy;
}

bool IsPowerOfTwo(USize value) noexcept
{
    return value != 0 && (value & (value - 1)) == 0;
}

/// The aligned form of a request, or 0 when its alignment or offset is refused.
USize GetTrueAlignment(USize size, USize alignment, USize offset) noexcept
{
    const bool offsetFits = offset == 0 || (offset < size && offset < alignment);
    return IsPowerOfTwo(alignment) && offsetFits ? alignment - offset : 0;
}

void* AllocateAligned(USize size, USize trueAlignment)
{
    return MemoryManager::AlignedAllocate(size, trueAlignment, MemoryManager::ReturnNullOnFailure, true);
}

/// The bytes from an aligned block's address to the end of the block that it was cut from.
USize GetRoom(void* block)
{
    char* raw;
    std::memcpy(&raw, static_cast<char*>(block) - sizeof(raw), sizeof(raw));
    return MemoryManager::MSize(raw) - static_cast<USize>(static_cast<char*>(block) - raw);
}

/// Moves `count` bytes into the new block and frees the old one.
void* Replace(void* oldBlock, void* newBlock, USize count)
{
    std::memcpy(newBlock, oldBlock, count);
    MemoryManager::AlignedFree(oldBlock);
    return newBlock;
}

} // namespace

void* QV_malloc(USize size)
{
    return Allocate(size);
}

void* QV_calloc(USize count, USize size)
{
    void* const block = Allocate(count * size);
    return block == nullptr ? nullptr : std::memset(block, 0, count * size);
}

void* QV_realloc(void* block, USize size)
{
    return MemoryManager::Reallocate(block, size, MemoryManager::ReturnNullOnFailure, true);
}

void* QV_recalloc(void* block, USize count, USize size)
{
    USize total;
    if (!Multiply(count, size, total)) {
        return nullptr;
    }
    if (block == nullptr) {
        return QV_calloc(count, size);
    }
    if (size == 0) {
        MemoryManager::Free(block);
        return nullptr;
    }
    void* const resized = QV_calloc(count, size);
    if (resized != nullptr) {
        std::memcpy(resized, block, std::min({size, total, MemoryManager::MSize(block)}));
        MemoryManager::Free(block);
    }
    return resized;
}

void QV_free(void* block)
{
    MemoryManager::Free(block);
}

USize QV_msize(void* block)
{
    return MemoryManager::MSize(block);
}

int QV_heapchk(void)
{
    return MemoryManager::HeapCheck();
}

char* QV_strdup(const char* text)
{
    return Duplicate(text);
}

UInt16* QV_wcsdup(const UInt16* text)
{
    return Duplicate(text);
}

unsigned char* QV_mbsdup(const unsigned char* text)
{
    // Room for every byte: a count of characters would be too small where characters take several.
    return Duplicate(text);
}

char* QV_fullpath(char* buffer, const char* path, USize length)
{
    const bool refused = buffer != nullptr && length == 0;
    return refused ? nullptr : TakeOver(Impl::Paths::GetFull(buffer, path, length), buffer);
}

UInt16* QV_wfullpath(UInt16* buffer, const UInt16* path, USize length)
{
    const bool refused = buffer != nullptr && length == 0;
    return refused ? nullptr : TakeOver(Impl::Paths::GetFull(buffer, path, length), buffer);
}

char* QV_getcwd(char* buffer, int length)
{
    const bool refused = buffer != nullptr && length <= 0;
    return refused ? nullptr : TakeOver(Impl::Paths::GetCurrent(buffer, length), buffer);
}

UInt16* QV_wgetcwd(UInt16* buffer, int length)
{
    const bool refused = buffer != nullptr && length <= 0;
    return refused ? nullptr : TakeOver(Impl::Paths::GetCurrent(buffer, length), buffer);
}

char* QV_tempnam(const char* directory, const char* prefix)
{
    return TakeOver<char>(Impl::Paths::GetTemporary(directory, prefix), nullptr);
}

UInt16* QV_wtempnam(const UInt16* directory, const UInt16* prefix)
{
    return TakeOver<UInt16>(Impl::Paths::GetTemporary(directory, prefix), nullptr);
}

void* QV_aligned_malloc(USize size, USize alignment)
{
    return QV_aligned_offset_malloc(size, alignment, 0);
}

void* QV_aligned_realloc(void* block, USize size, USize alignment)
{
    return QV_aligned_offset_realloc(block, size, alignment, 0);
}

void* QV_aligned_recalloc(void* block, USize count, USize size, USize alignment)
{
    return QV_aligned_offset_recalloc(block, count, size, alignment, 0);
}

void* QV_aligned_offset_malloc(USize size, USize alignment, USize offset)
{
    const USize trueAlignment = GetTrueAlignment(size, alignment, offset);
    if (size == 0 || size > MaxSize || trueAlignment == 0) {
        return nullptr;
    }
    return AllocateAligned(size, trueAlignment);
}

void* QV_aligned_offset_realloc(void* block, USize size, USize alignment, USize offset)
{
    if (size > MaxSize) {
        return nullptr;
    }
    if (size == 0 && block != nullptr) {
        MemoryManager::AlignedFree(block);
        return nullptr;
    }
    const USize trueAlignment = GetTrueAlignment(size, alignment, offset);
    void* const resized = trueAlignment == 0 ? nullptr : AllocateAligned(size, trueAlignment);
    if (resized == nullptr || block == nullptr) {
        return resized;
    }
    // The room, not the aligned size: nothing is lost even when the old alignment was another.
    return Replace(block, resized, std::min(size, GetRoom(block)));
}

void* QV_aligned_offset_recalloc(void* block, USize count, USize size, USize alignment, USize offset)
{
    USize total;
    if (!Multiply(count, size, total)) {
        return nullptr;
    }
    if (total == 0 && block != nullptr) {
        MemoryManager::AlignedFree(block);
        return nullptr;
    }
    const USize trueAlignment = GetTrueAlignment(total, alignment, offset);
    void* const resized = trueAlignment == 0 ? nullptr : AllocateAligned(total, trueAlignment);
    if (resized == nullptr) {
        return nullptr;
    }
    std::memset(resized, 0, total);
    if (block == nullptr) {
        return resized;
    }
    const USize oldSize = std::min(MemoryManager::AlignedMsize(block, trueAlignment), GetRoom(block));
    return Replace(block, resized, std::min(size, oldSize));
}

USize QV_aligned_msize(void* block, USize alignment, USize offset)
{
    return MemoryManager::AlignedMsize(block, alignment - offset);
}

void QV_aligned_free(void* block)
{
    if (block != nullptr) {
        MemoryManager::AlignedFree(block);
    }
}

} // namespace QV
