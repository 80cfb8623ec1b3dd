/// The block that a buffering channel works in.
#pragma once

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

namespace QV::Impl {

inline char* AllocateBinaryBuffer(UInt32 size)
{
    if (size == 0) {
        QV_THROW(IllegalArgumentException, "the size of the buffer is 0");
    }
    return static_cast<char*>(MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true));
}

} // namespace QV::Impl
