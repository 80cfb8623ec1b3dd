/// Base of classes whose objects live in the process's pool of small objects when they are made by `new`.
///
///     class Node : public SmallObject {
///         ...
///     };
///     Node* const node = new Node; // from `threadSafeGlobalObjPool`
///     delete node;                 // back into it, on any thread
///
/// It adds nothing to an object. A class that is deleted through a base needs a virtual destructor, as
/// always. Arrays and classes aligned to more than 8 bytes do not come from the pool.
///
/// Threads: any. Errors: `new` throws `OutOfMemoryException`, which is a `std::bad_alloc`.
#pragma once

#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

#include <cstddef>
#include <new>

namespace QV {

class SmallObject {
public:
    static void* operator new(std::size_t size) { return threadSafeGlobalObjPool.Allocate(size); }
    static void operator delete(void* object) noexcept { SmallObjAllocator::Deallocate(object); }

    // Those that the two above would hide.
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void*, void*) noexcept {}
    static void* operator new(std::size_t size, std::align_val_t alignment)
    {
        return ::operator new(size, alignment);
    }
    static void operator delete(void* object, std::align_val_t alignment) noexcept
    {
        ::operator delete(object, alignment);
    }

protected:
    SmallObject() = default;
    ~SmallObject() = default;
};

} // namespace QV
