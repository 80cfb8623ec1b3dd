#include <QVRoot/MemoryManagement/BlockMemoryImpl.hpp>

#include <cstring>

namespace QV {

using namespace Impl;

namespace {

/// Leaves the error also when there is no memory for the record, which is thrown.
template <class Create>
QVErrCode LeaveErrorOnThrow(Create create)
{
    try {
        return create();
    } catch (...) {
        SetInnerError(ErrMemoryFull);
        SetOuterError(ErrMemoryFull);
        throw;
    }
}

/// Short pieces, the usual ones, are copied without a call. The ranges may overlap.
void CopyPiece(char* target, const char* source, size_t size) noexcept
{
    if (size < 8 || size > 16) {
        std::memmove(target, source, size);
        return;
    }
    UInt64 head, tail;
    std::memcpy(&head, source, 8);
    std::memcpy(&tail, source + size - 8, 8);
    std::memcpy(target, &head, 8);
    std::memcpy(target + size - 8, &tail, 8);
}

bool AppendInPlace(HandleRecord& record, const char* bytes, Int32 count) noexcept
{
    const Int32 oldSize = record.size;
    if (count < 0 || !GrowInPlace(record, Int64{oldSize} + count)) {
        return false;
    }
    CopyPiece(record.data + oldSize, bytes, static_cast<size_t>(count));
    return true;
}

Int16 CopyToHandle(const void* bytes, Int32 size, QVHandle& result)
{
    result = nullptr;
    const QVErrCode error = LeaveErrorOnThrow([&] { return CreateHandle(size, result); });
    if (error == NoError && size != 0) {
        std::memcpy(*result, bytes, static_cast<size_t>(size));
    }
    return SetOuterError(error);
}

} // namespace

QVHandle BMAllocateHandle(Int32 size, UInt32 flags, Int16 reserved)
{
    QVHandle handle = nullptr;
    const bool empty = (flags & BMMakeEmpty) != 0;
    const QVErrCode error =
        LeaveErrorOnThrow([&] { return empty ? CreateEmptyHandle(handle) : CreateHandle(size, handle); });
    if (error != NoError) [[unlikely]] {
        FailOperation(BMInAllocateHandle, size, error, reserved);
        return nullptr;
    }
    if ((flags & BMZeroNew) != 0 && !empty) {
        std::memset(*handle, 0, static_cast<size_t>(size));
    }
    SetOuterError(NoError);
    return handle;
}

QVHandle BMReallocHandle(QVHandle handle, Int32 newSize, UInt32 flags, Int16 reserved)
{
    if (handle == nullptr) {
        SetOuterError(ErrNilHandle);
        return nullptr;
    }
    const bool empty = *handle == nullptr;
    const Int32 oldSize = empty ? 0 : GetRecord(handle).size;
    if (newSize > oldSize && (flags & BMNeverGrow) != 0) {
        SetOuterError(NoError);
        return handle;
    }
    QVErrCode error = NoError;
    if (newSize != oldSize && !GrowInPlace(GetRecord(handle), newSize)) {
        error = empty ? FillEmptyHandle(handle, newSize) : ResizeHandle(handle, newSize);
    }
    if (error != NoError) [[unlikely]] {
        if ((flags & BMKillOnFailure) != 0) {
            DestroyHandle(handle);
            handle = nullptr;
        }
        FailOperation(BMInReallocHandle, newSize, error, reserved);
        return handle;
    }
    ZeroAfterResize(*handle, oldSize, newSize, flags);
    SetSuccess();
    return handle;
}

void BMKillHandle(QVHandle* handle)
{
    if (handle != nullptr && *handle != nullptr) {
        DestroyHandle(*handle);
        *handle = nullptr;
    }
    SetOuterError(NoError);
}

Int32 BMGetHandleSize(QVConstHandle handle)
{
    Int32 size;
    const QVErrCode error = QueryHandleSize(handle, size);
    if (error != NoError) [[unlikely]] {
        FailOperation(BMInGetHandleSize, 0, error, 0);
    } else {
        SetOuterError(NoError);
    }
    return size;
}

Int32 BMClearHandle(QVHandle handle)
{
    Int32 size = 0;
    const QVErrCode error = handle == nullptr ? NoError : QueryHandleSize(handle, size);
    if (size > 0) {
        std::memset(*handle, 0, static_cast<size_t>(size));
    }
    SetOuterError(error);
    return size;
}

Int16 BMHandleToHandle(QVConstHandle source, QVHandle* result)
{
    if (source == nullptr || result == nullptr) {
        return SetOuterError(ErrNilHandle);
    }
    if (*source == nullptr) {
        return SetOuterError(ErrEmptyHandle);
    }
    return CopyToHandle(*source, GetRecord(source).size, *result);
}

Int16 BMPtrToHandle(QVConstPtr source, QVHandle* result, Int32 size)
{
    if (source == nullptr) {
        return SetOuterError(ErrNullPointer);
    }
    if (result == nullptr) {
        return SetOuterError(ErrNilHandle);
    }
    return CopyToHandle(source, size, *result);
}

Int16 BMHandleAndHandle(QVHandle a, QVHandle b)
{
    if (a == nullptr || b == nullptr) {
        return SetOuterError(ErrNilHandle);
    }
    if (*a == nullptr) {
        return SetOuterError(ErrEmptyHandle);
    }
    return SetOuterError(AppendToHandle(b, *a, GetRecord(a).size));
}

Int16 BMPtrAndHandle(QVConstPtr source, QVHandle handle, Int32 size)
{
    if (source == nullptr) {
        return SetOuterError(ErrNullPointer);
    }
    if (handle != nullptr && AppendInPlace(GetRecord(handle), source, size)) [[likely]] {
        return SetSuccess();
    }
    return SetOuterError(AppendToHandle(handle, source, size));
}

} // namespace QV
