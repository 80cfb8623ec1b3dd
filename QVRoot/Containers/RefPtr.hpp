/// Counted references to shared objects.
///
///     class Document : public RefCounted { … };
///
///     const RefPtr<Document> document = MakeRef<Document>(arguments…);
///     Keep(document); // the last reference deletes it
///
/// An object that no `RefPtr` has ever referred to is nobody's but its owner's: it may live on the stack.
///
/// Threads: the count is safe on any thread, one `RefPtr` is not. Errors: `MakeRef` passes on what the
/// constructor throws, and `OutOfMemoryException`. Allocation: objects made with `new` live in the memory
/// manager's blocks.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/Threading/Atomic.hpp>

#include <cstddef>
#include <type_traits>
#include <utility>

namespace QV {

/// The base of objects that are shared by counted reference.
class QV_EXPORT RefCounted {
public:
    void AddReference() const noexcept { count_.Increment(); }
    /// The last reference deletes the object.
    void RemoveReference() const noexcept
    {
        if (count_.Decrement() == 0) {
            delete this;
        }
    }

    static void* operator new(std::size_t size)
    {
        return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
    }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept { MemoryManager::Free(block); }
    static void operator delete(void*, void*) noexcept {}

protected:
    RefCounted() noexcept = default;
    /// Whoever refers to the source does not refer to the copy.
    RefCounted(const RefCounted&) noexcept {}
    RefCounted& operator=(const RefCounted&) noexcept { return *this; }
    virtual ~RefCounted();

private:
    mutable TSRefCounter count_{0};
};

/// A counted reference, or null.
template <class T>
class RefPtr {
public:
    constexpr RefPtr() noexcept = default;
    constexpr RefPtr(std::nullptr_t) noexcept {}
    /// The object must have been made with `new`.
    explicit RefPtr(T* object) noexcept : object_(object) { AddReference(); }
    RefPtr(const RefPtr& other) noexcept : object_(other.object_) { AddReference(); }
    RefPtr(RefPtr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    template <class Derived>
    requires std::is_convertible_v<Derived*, T*> RefPtr(const RefPtr<Derived>& other)
    noexcept : RefPtr(other.Get()) {}
    RefPtr& operator=(RefPtr other) noexcept
    {
        std::swap(object_, other.object_);
        return *this;
    }
    ~RefPtr()
    {
        if (object_ != nullptr) {
            object_->RemoveReference();
        }
    }

    T* Get() const noexcept { return object_; }
    T& operator*() const noexcept { return *object_; }
    T* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

    /// Whether both refer to one object.
    bool operator==(const RefPtr& other) const noexcept = default;

private:
    void AddReference() const noexcept
    {
        if (object_ != nullptr) {
            object_->AddReference();
        }
    }

    T* object_ = nullptr;
};

/// A new object and its first reference.
template <class T, class... Arguments>
RefPtr<T> MakeRef(Arguments&&... arguments)
{
    return RefPtr<T>(new T(std::forward<Arguments>(arguments)...));
}

} // namespace QV
