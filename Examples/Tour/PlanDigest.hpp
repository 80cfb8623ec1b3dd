/// A number made of all fields of objects and of how they refer to one another. Plans that are the same have
/// the same one, wherever their objects lie in memory.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniString.hpp>

#include <unordered_map>

namespace Tour {

class PlanObject;

class PlanDigest {
public:
    /// Goes through everything that can be reached from the object.
    static QV::UInt64 Make(const PlanObject& root);

    void Add(QV::UInt64 number) noexcept;
    void Add(double number) noexcept;
    void Add(const QV::UniString& text);
    /// The object's number in the order of first mention; its own fields are added later.
    void Add(const PlanObject* object);

    template <class T>
    void Add(const QV::Array<T*>& objects)
    {
        Add(QV::UInt64{objects.GetCount()});
        for (const T* const object : objects) {
            Add(object);
        }
    }

    QV::UInt32 GetObjectCount() const noexcept { return objects_.GetCount(); }

private:
    QV::UInt64 value_ = 0;
    QV::Array<const PlanObject*> objects_;
    std::unordered_map<const PlanObject*, QV::UInt32> numbers_;
};

} // namespace Tour
