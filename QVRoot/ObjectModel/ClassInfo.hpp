/// How a persistent class describes itself.
///
///     const ClassInfo& Wall::GetStaticClassInfo()
///     {
///         static constexpr ClassInfo info("Wall", {1, 2}, Guid(…), {3, 1}, {2, 0});
///         return info;
///     }
///
/// A class that is to be created by its identifier is registered besides: see `ClassManager`.
///
/// Threads: class records are constant. Errors: reading and writing return codes. Allocation: none.
#pragma once

#include <QVRoot/Utilities/Guid.hpp>

namespace QV {

/// A class's version. A reader refuses a newer main version and steps over what a newer sub version appends.
struct QV_EXPORT ClassVersion {
    UInt8 mainVersion = 0;
    UInt8 subVersion = 0;

    /// The main byte, then the sub byte; the first error.
    QVErrCode Read(IChannel& ic);
    QVErrCode Write(OChannel& oc) const;

    friend constexpr auto operator<=>(const ClassVersion&, const ClassVersion&) noexcept = default;
};

static_assert(sizeof(ClassVersion) == 2);

/// A class's type: two numbers that the application chooses. Both zero: none.
struct QV_EXPORT ClassType {
    UInt32 creator = 0;
    UInt32 type = 0;

    /// The two numbers in this order; the first error.
    QVErrCode Read(IChannel& ic);
    QVErrCode Write(OChannel& oc) const;

    friend constexpr auto operator<=>(const ClassType&, const ClassType&) noexcept = default;
};

static_assert(sizeof(ClassType) == 8);

/// Name, type, identifier and versions of a persistent class.
class ClassInfo {
public:
    /// The name is kept as a pointer and must live for ever. `old` is the version that is written when an
    /// older output format is selected.
    constexpr ClassInfo(const char* name, ClassType type, const Guid& id, ClassVersion current,
                        ClassVersion old) noexcept
        : name_(name), type_(type), id_(id), current_(current), old_(old)
    {
    }

    constexpr const char* GetName() const noexcept { return name_; }
    constexpr const ClassType& GetType() const noexcept { return type_; }
    constexpr const Guid& GetId() const noexcept { return id_; }
    constexpr ClassVersion GetVersion() const noexcept { return current_; }
    constexpr ClassVersion GetOldVersion() const noexcept { return old_; }

private:
    const char* name_;
    ClassType type_;
    Guid id_;
    ClassVersion current_;
    ClassVersion old_;
};

} // namespace QV
