#include <QVRoot/MemoryManagement/BlockMemoryImpl.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <algorithm>
#include <cstring>
#include <memory>

namespace QV::Impl {

namespace {

struct BlockDeleter {
    void operator()(void* block) const noexcept { MemoryManager::Free(block); }
};

using RecordOwner = std::unique_ptr<HandleRecord, BlockDeleter>;

/// An empty record. Throws when there is no memory.
RecordOwner AllocateRecord()
{
    void* const block = MemoryManager::Allocate(sizeof(HandleRecord), MemoryManager::ThrowOnFailure, true);
    return RecordOwner(new (block) HandleRecord{nullptr, 0, 0});
}

void* AllocateBlock(Int64 size)
{
    return MemoryManager::Allocate(static_cast<USize>(size), MemoryManager::ReturnNullOnFailure, false);
}

void* ReallocateBlock(void* block, Int64 size)
{
    return MemoryManager::Reallocate(block, static_cast<USize>(size), MemoryManager::ReturnNullOnFailure,
                                     false);
}

bool IsBlockSize(Int64 size) noexcept
{
    return size >= 0 && size <= MaxBlockSize;
}

/// The next capacity for a block that must hold `needed` bytes: at least a quarter more, if that can be.
Int64 GrowCapacity(Int64 capacity, Int64 needed) noexcept
{
    const Int64 grown = capacity + std::max(needed - capacity, capacity / 4);
    return grown <= MaxBlockSize ? grown : needed;
}

QVErrCode Fill(HandleRecord& record, Int64 size)
{
    void* const data = IsBlockSize(size) ? AllocateBlock(size) : nullptr;
    if (data == nullptr) {
        return ErrMemoryFull;
    }
    record = {static_cast<char*>(data), static_cast<Int32>(size), static_cast<Int32>(size)};
    return NoError;
}

/// Resizing to 0 releases the block, so that a new one has to be made.
QVErrCode ReplaceByZeroBytes(HandleRecord& record)
{
    MemoryManager::Free(record.data);
    record = {nullptr, 0, 0};
    return Fill(record, 0);
}

QVErrCode SetCapacity(HandleRecord& record, Int64 capacity)
{
    if (capacity == 0) {
        return ReplaceByZeroBytes(record);
    }
    void* const data = ReallocateBlock(record.data, capacity);
    if (data == nullptr) {
        return ErrMemoryFull;
    }
    record.data = static_cast<char*>(data);
    record.capacity = static_cast<Int32>(capacity);
    return NoError;
}

QVErrCode Resize(HandleRecord& record, Int64 newSize)
{
    if (record.data == nullptr) [[unlikely]] {
        return ErrEmptyHandle;
    }
    if (!IsBlockSize(newSize)) [[unlikely]] {
        return ErrMemoryFull;
    }
    QVErrCode error = NoError;
    if (newSize > record.capacity) {
        error = SetCapacity(record, GrowCapacity(record.capacity, newSize));
    } else if (newSize < record.size) {
        error = SetCapacity(record, newSize);
    }
    if (error == NoError) {
        record.size = static_cast<Int32>(newSize);
    }
    return error;
}

QVErrCode Append(HandleRecord& record, const void* bytes, Int64 count)
{
    USize offset;
    const bool ownBytes = FindInBlock(record, bytes, offset);
    const Int32 oldSize = record.size;
    // An empty handle counts as the worse fault.
    const Int64 newSize = count < 0 ? Int64{-1} : oldSize + count;
    const QVErrCode error = Resize(record, newSize);
    if (error == NoError && count != 0) {
        std::memmove(record.data + oldSize, ownBytes ? record.data + offset : bytes,
                     static_cast<size_t>(count));
    }
    return error;
}

/// The block that a pointer of `newSize` bytes takes.
Int64 GetPtrCapacity(const HandleRecord& header, Int64 newSize) noexcept
{
    const Int64 needed = newSize + PtrHeaderSize;
    // The old size is without the header: shrinking by less than that keeps the block.
    if (needed <= header.size) {
        return needed;
    }
    return needed > header.capacity ? GrowCapacity(header.capacity, needed) : header.capacity;
}

QVPtr InstallPtr(void* block, Int64 size, Int64 capacity) noexcept
{
    const QVPtr ptr = static_cast<char*>(block) + PtrHeaderSize;
    new (block) HandleRecord{ptr, static_cast<Int32>(size), static_cast<Int32>(capacity)};
    return ptr;
}

bool IsPtrSize(Int64 size) noexcept
{
    return size >= 0 && size <= MaxBlockSize - PtrHeaderSize;
}

QVErrCode ReplacePtr(QVPtr& ptr, Int64 newSize)
{
    if (!IsPtrSize(newSize)) {
        return ErrMemoryFull;
    }
    HandleRecord& header = GetPtrHeader(ptr);
    const Int64 capacity = GetPtrCapacity(header, newSize);
    void* const block = capacity == header.capacity ? &header : ReallocateBlock(&header, capacity);
    if (block == nullptr) {
        return ErrMemoryFull;
    }
    ptr = InstallPtr(block, newSize, capacity);
    return NoError;
}

} // namespace

QVErrCode QueryHandleSize(QVConstHandle handle, Int32& size) noexcept
{
    size = 0;
    if (handle == nullptr) [[unlikely]] {
        return SetInnerError(ErrNilHandle);
    }
    if (*handle == nullptr) [[unlikely]] {
        return SetInnerError(ErrEmptyHandle);
    }
    size = GetRecord(handle).size;
    return SetInnerError(NoError);
}

QVErrCode QueryPtrSize(QVConstPtr ptr, Int32& size) noexcept
{
    size = ptr == nullptr ? 0 : GetPtrHeader(ptr).size;
    return SetInnerError(ptr == nullptr ? ErrNullPointer : NoError);
}

QVErrCode CreateHandle(Int64 size, QVHandle& handle)
{
    handle = nullptr;
    if (!IsBlockSize(size)) {
        return SetInnerError(ErrMemoryFull);
    }
    RecordOwner record = AllocateRecord();
    const QVErrCode error = Fill(*record, size);
    if (error == NoError) {
        handle = &record.release()->data;
    }
    return SetInnerError(error);
}

QVErrCode CreateEmptyHandle(QVHandle& handle)
{
    handle = &AllocateRecord().release()->data;
    return SetInnerError(NoError);
}

QVErrCode CreatePtr(Int64 size, QVPtr& ptr)
{
    const Int64 capacity = size + PtrHeaderSize;
    void* const block = IsPtrSize(size) ? AllocateBlock(capacity) : nullptr;
    ptr = block == nullptr ? nullptr : InstallPtr(block, size, capacity);
    return SetInnerError(block == nullptr ? ErrMemoryFull : NoError);
}

void DestroyHandle(QVHandle handle) noexcept
{
    MemoryManager::Free(*handle);
    MemoryManager::Free(handle);
    SetInnerError(NoError);
}

void DestroyPtr(QVPtr ptr) noexcept
{
    MemoryManager::Free(&GetPtrHeader(ptr));
    SetInnerError(NoError);
}

QVErrCode ResizeHandle(QVHandle handle, Int64 newSize)
{
    return SetInnerError(handle == nullptr ? ErrNilHandle : Resize(GetRecord(handle), newSize));
}

QVErrCode FillEmptyHandle(QVHandle handle, Int64 size)
{
    return SetInnerError(Fill(GetRecord(handle), size));
}

QVErrCode AppendToHandle(QVHandle handle, const void* bytes, Int64 count)
{
    return SetInnerError(handle == nullptr ? ErrNilHandle : Append(GetRecord(handle), bytes, count));
}

QVErrCode ResizePtr(QVPtr& ptr, Int64 newSize)
{
    return SetInnerError(ReplacePtr(ptr, newSize));
}

} // namespace QV::Impl
