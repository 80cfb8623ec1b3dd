/// The layer below the handle and pointer interface: block layouts and operations without fatal reports.
///
/// All operations return an error code and leave it as the thread's inner error. Null and empty handles are
/// tested where a code for them is named, sizes always. Only `CreateHandle` and `CreateEmptyHandle` throw.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/MemoryManagement/BlockMemory.h>

#include <atomic>
#include <cstddef>
#include <cstring>

namespace QV::Impl {

/// What a handle points at, and the header of a pointer block: there `data` is the address behind the header
/// and the capacity includes the header.
struct HandleRecord {
    char* data;     ///< null when the handle is empty
    Int32 size;     ///< bytes in use
    Int32 capacity; ///< bytes of the data block
};
static_assert(sizeof(HandleRecord) == 16 && offsetof(HandleRecord, data) == 0);
static_assert(offsetof(HandleRecord, size) == 8 && offsetof(HandleRecord, capacity) == 12);

constexpr Int64 PtrHeaderSize = sizeof(HandleRecord);
constexpr Int64 MaxBlockSize = 0x7FFFFFFF;

inline HandleRecord& GetRecord(QVHandle handle) noexcept
{
    return *reinterpret_cast<HandleRecord*>(handle);
}

inline const HandleRecord& GetRecord(QVConstHandle handle) noexcept
{
    return *reinterpret_cast<const HandleRecord*>(handle);
}

inline HandleRecord& GetPtrHeader(QVPtr ptr) noexcept
{
    return *reinterpret_cast<HandleRecord*>(ptr - PtrHeaderSize);
}

inline const HandleRecord& GetPtrHeader(QVConstPtr ptr) noexcept
{
    return *reinterpret_cast<const HandleRecord*>(ptr - PtrHeaderSize);
}

/// The size, or -109 for null and -7002 for an empty handle.
[[nodiscard]] QVErrCode QueryHandleSize(QVConstHandle handle, Int32& size) noexcept;
/// The size, or -7001 for null.
[[nodiscard]] QVErrCode QueryPtrSize(QVConstPtr ptr, Int32& size) noexcept;

[[nodiscard]] QVErrCode CreateHandle(Int64 size, QVHandle& handle);
[[nodiscard]] QVErrCode CreateEmptyHandle(QVHandle& handle);
[[nodiscard]] QVErrCode CreatePtr(Int64 size, QVPtr& ptr);
void DestroyHandle(QVHandle handle) noexcept;
void DestroyPtr(QVPtr ptr) noexcept;

/// -109 for null, -7002 for an empty handle, -108 for a size that cannot be had. Then all is as before, save
/// when not even a block of 0 bytes can be had: then the handle is empty.
[[nodiscard]] QVErrCode ResizeHandle(QVHandle handle, Int64 newSize);
/// Gives an empty handle a block.
[[nodiscard]] QVErrCode FillEmptyHandle(QVHandle handle, Int64 size);
/// As `ResizeHandle`; the bytes may lie in the handle.
[[nodiscard]] QVErrCode AppendToHandle(QVHandle handle, const void* bytes, Int64 count);
/// The block may move.
[[nodiscard]] QVErrCode ResizePtr(QVPtr& ptr, Int64 newSize);

/// Whether an address lies in the handle's block, and at which offset.
inline bool FindInBlock(const HandleRecord& record, const void* address, USize& offset) noexcept
{
    offset = reinterpret_cast<USize>(address) - reinterpret_cast<USize>(record.data);
    return offset < static_cast<USize>(record.capacity);
}

/// How many threads have an inner or outer error. As long as there are none, a success needs no per-thread
/// value to be looked at.
extern constinit std::atomic<UInt32> threadsWithError;
void StoreInnerError(QVErrCode error) noexcept;
void StoreOuterError(QVErrCode error) noexcept;
Int16 GetInnerError() noexcept;

/// Leaves the result of an operation of this layer.
inline QVErrCode SetInnerError(QVErrCode error) noexcept
{
    if (error != NoError || threadsWithError.load(std::memory_order_relaxed) != 0) [[unlikely]] {
        StoreInnerError(error);
    }
    return error;
}

/// Leaves the result of a function of the interface.
inline Int16 SetOuterError(QVErrCode error) noexcept
{
    if (error != NoError || threadsWithError.load(std::memory_order_relaxed) != 0) [[unlikely]] {
        StoreOuterError(error);
    }
    return static_cast<Int16>(error);
}

/// Leaves a success of both layers with one look.
inline Int16 SetSuccess() noexcept
{
    if (threadsWithError.load(std::memory_order_relaxed) != 0) [[unlikely]] {
        StoreInnerError(NoError);
        StoreOuterError(NoError);
    }
    return NoError;
}

/// Grows when the capacity suffices; answers false when the block has to be replaced or the size refused.
inline bool GrowInPlace(HandleRecord& record, Int64 newSize) noexcept
{
    if (newSize < record.size || newSize > record.capacity || record.data == nullptr) {
        return false;
    }
    record.size = static_cast<Int32>(newSize);
    return true;
}

/// Leaves the error of a function of the interface and reports it as a fatal memory error.
void FailOperation(BMOperation operation, Int32 size, QVErrCode error, Int16 reserved);

/// Zeroes what the flags of a resizing function ask for.
inline void ZeroAfterResize(char* data, Int32 oldSize, Int32 newSize, UInt32 flags) noexcept
{
    const Int32 start = (flags & BMZeroAll) != 0 ? 0 : (flags & BMZeroNew) != 0 ? oldSize : newSize;
    if (start < newSize) {
        std::memset(data + start, 0, static_cast<size_t>(newSize - start));
    }
}

} // namespace QV::Impl
