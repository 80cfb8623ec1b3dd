#include <QVRoot/MemoryManagement/BlockMemoryImpl.hpp>

#include <cstring>

namespace QV {

using namespace Impl;

QVPtr BMAllocatePtr(Int32 size, UInt32 flags, Int16 reserved)
{
    QVPtr ptr;
    const QVErrCode error = CreatePtr(size, ptr);
    if (error != NoError) [[unlikely]] {
        FailOperation(BMInAllocatePtr, size, error, reserved);
        return nullptr;
    }
    if ((flags & BMZeroNew) != 0) {
        std::memset(ptr, 0, static_cast<size_t>(size));
    }
    SetOuterError(NoError);
    return ptr;
}

QVPtr BMReallocPtr(QVPtr ptr, Int32 newSize, UInt32 flags, Int16 reserved)
{
    if (ptr == nullptr) {
        SetOuterError(ErrNullPointer);
        return nullptr;
    }
    const Int32 oldSize = GetPtrHeader(ptr).size;
    if (newSize > oldSize && (flags & BMNeverGrow) != 0) {
        SetOuterError(NoError);
        return ptr;
    }
    QVErrCode error = NoError;
    if (newSize != oldSize) {
        error = (flags & BMMayMove) != 0 ? ResizePtr(ptr, newSize) : SetInnerError(ErrMemoryFull);
    }
    if (error != NoError) [[unlikely]] {
        if ((flags & BMKillOnFailure) != 0) {
            DestroyPtr(ptr);
            ptr = nullptr;
        }
        FailOperation(BMInReallocPtr, newSize, error, reserved);
        return ptr;
    }
    ZeroAfterResize(ptr, oldSize, newSize, flags);
    SetOuterError(NoError);
    return ptr;
}

void BMKillPtr(QVPtr* ptr)
{
    if (ptr != nullptr && *ptr != nullptr) {
        DestroyPtr(*ptr);
        *ptr = nullptr;
    }
    SetOuterError(NoError);
}

Int32 BMGetPtrSize(QVConstPtr ptr)
{
    Int32 size;
    const QVErrCode error = QueryPtrSize(ptr, size);
    if (error != NoError) [[unlikely]] {
        FailOperation(BMInGetPtrSize, 0, error, 0);
    } else {
        SetOuterError(NoError);
    }
    return size;
}

} // namespace QV
