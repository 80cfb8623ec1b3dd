/// Makes and destroys the implementation objects of the primitives, in blocks of the memory manager.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <memory>
#include <new>
#include <utility>

namespace QV::Impl {

template <class T, class... Arguments>
T* MakeImplementation(Arguments&&... arguments)
{
    void* const block = MemoryManager::Allocate(sizeof(T), MemoryManager::ThrowOnFailure, true);
    try {
        return new (block) T(std::forward<Arguments>(arguments)...);
    } catch (...) {
        MemoryManager::Free(block);
        throw;
    }
}

template <class T>
void DestroyImplementation(T* object) noexcept
{
    std::destroy_at(object);
    MemoryManager::Free(object);
}

} // namespace QV::Impl
