/// The registry of persistent classes, and which of its versions a class writes.
///
///     static const RegisteredClass<Wall> registration(wallInfo);   // in the .cpp file of the class
///
///     std::unique_ptr<Object> wall(ClassManager::Create(wallInfo.GetId()));
///
/// A registration is a static object of the module that has the class: it enters the class when the module is
/// loaded and takes it out when the module goes. The registry is ready before the first static constructor
/// runs and until the last destructor has run, so the order in which modules come and go does not matter.
///
/// Threads: all of it may be used from any thread. What a look-up answers stays valid until its registration
/// ends: the application lets no module go while others use its classes. Errors: results only, a refused
/// registration is reported as well (`ErrorReporting`). Allocation: none but the list of `GetClasses` and
/// what a class's own constructor allocates.
#pragma once

#include <QVRoot/ObjectModel/ClassInfo.hpp>

#include <type_traits>

namespace QV {

class Object;
template <class T>
class Array;

/// Keeps one class registered for as long as it lives.
class QV_EXPORT ClassRegistration {
public:
    /// Makes an object of the class with `new`.
    using Factory = Object* (*)();

    /// What became of a registration.
    enum Result {
        Registered = 0,
        InvalidClass = 1,  ///< the record has no name or a null identifier
        DuplicateId = 2,   ///< another registered class has the identifier
        DuplicateName = 3, ///< another registered class has the name
        DuplicateType = 4, ///< another registered class has the type; any number may have none
    };

    /// Without a factory the class can be found but not created: an abstract one. What is refused stays so,
    /// even when the class that stood in its way goes.
    explicit ClassRegistration(const ClassInfo& classInfo, Factory factory = nullptr) noexcept;
    ~ClassRegistration();
    ClassRegistration(const ClassRegistration&) = delete;
    ClassRegistration& operator=(const ClassRegistration&) = delete;

    Result GetResult() const noexcept { return result_; }
    const ClassInfo& GetInfo() const noexcept { return classInfo_; }
    Factory GetFactory() const noexcept { return factory_; }

private:
    friend class ClassManager;
    enum Key : UInt32 { IdKey, NameKey, TypeKey, KeyCount };

    const ClassInfo& classInfo_;
    Factory factory_;
    Result result_ = Registered;
    ClassRegistration* next_[KeyCount] = {}; ///< by key, in the same bucket
};

/// Registers a class with its default constructor as the factory; an abstract class without one.
template <class T>
class RegisteredClass : public ClassRegistration {
public:
    explicit RegisteredClass(const ClassInfo& classInfo) noexcept
        : ClassRegistration(classInfo, GetFactoryOfClass())
    {
    }

private:
    static constexpr Factory GetFactoryOfClass() noexcept
    {
        if constexpr (std::is_default_constructible_v<T>) {
            return []() -> Object* { return new T(); };
        } else {
            return nullptr;
        }
    }
};

class QV_EXPORT ClassManager {
public:
    /// 0, the start value: classes write their current version. Any other value: their old version.
    static UInt32 GetOutputVersion() noexcept;
    static void SetOutputVersion(UInt32 version) noexcept;

    /// The registered class with this identifier, name (case counts) or type; null when there is none.
    static const ClassInfo* Find(const Guid& id) noexcept;
    static const ClassInfo* Find(const char* name) noexcept;
    static const ClassInfo* Find(const ClassType& type) noexcept;

    /// What makes objects of the class; null for a class that is not registered or is abstract.
    static ClassRegistration::Factory FindFactory(const Guid& id) noexcept;

    /// A new object of the class, to be deleted by the caller; null for a class that is not registered or is
    /// abstract. Throws what its constructor throws.
    static Object* Create(const Guid& id);

    /// All registered classes, in the order of their names' bytes.
    static Array<const ClassInfo*> GetClasses();
    static UInt32 GetClassCount() noexcept;

private:
    friend class ClassRegistration;
    static ClassRegistration::Result Enter(ClassRegistration& registration) noexcept;
    static void Remove(ClassRegistration& registration) noexcept;
    template <ClassRegistration::Key key, class Value>
    static const ClassRegistration* Look(const Value& value) noexcept;
};

} // namespace QV
