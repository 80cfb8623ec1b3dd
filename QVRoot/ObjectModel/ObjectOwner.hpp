/// Objects that refer to one another and live and die together: a document's, or what was read of a graph.
///
///     ObjectOwner document;
///     Wall* const wall = document.Make<Wall>();
///     wall->SetOpening(document.Make<Door>());   // may be shared, may lead back in a circle
///
/// Threads: one at a time. Errors: `OutOfMemoryException`; the owner is then as it was. Allocation: a list of
/// the objects.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/ObjectModel/Object.hpp>

#include <memory>

namespace QV {

class QV_EXPORT ObjectOwner {
public:
    ObjectOwner() noexcept = default;
    ObjectOwner(ObjectOwner&& other) noexcept = default;
    ObjectOwner& operator=(ObjectOwner&& other) noexcept;
    /// Deletes the objects, the last one first. They must not look at one another any more.
    ~ObjectOwner();

    UInt32 GetCount() const noexcept { return objects_.GetCount(); }
    bool IsEmpty() const noexcept { return objects_.IsEmpty(); }
    Object* operator[](UInt32 index) const noexcept { return objects_[index]; }
    Object* const* begin() const noexcept { return objects_.begin(); }
    Object* const* end() const noexcept { return objects_.end(); }

    /// Makes an object and keeps it.
    template <class T, class... Arguments>
    T* Make(Arguments&&... arguments)
    {
        std::unique_ptr<T> object(new T(std::forward<Arguments>(arguments)...));
        T* const made = object.get();
        objects_.Append(made);
        object.release();
        return made;
    }

    /// Takes an object over, also when the list cannot be made longer: then it is deleted.
    void Append(std::unique_ptr<Object> object);

    /// Makes room for so many objects in all.
    void Reserve(UInt32 capacity) { objects_.Reserve(capacity); }

    /// Deletes all objects.
    void Clear() noexcept;

    /// Gives all objects away undeleted, for objects that own one another.
    Array<Object*> Release() noexcept;

private:
    Array<Object*> objects_;
};

} // namespace QV
