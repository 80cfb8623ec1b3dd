/// The base of every class whose instances can be written to a channel, restored from a state, cloned and
/// dumped.
///
/// A persistent class overrides `GetClassInfo`, `Clone`, `Read` and `Write`. Its `Write` makes an
/// `OutputFrame` on the channel and writes its fields; its `Read` makes an `InputFrame`, checks its status
/// and reads the fields that the frame's version has.
///
/// Threads: one at a time. Errors: reading and writing return codes, `Store` and `Restore` a status.
/// Allocation: objects made with `new` live in the memory manager's blocks.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>

#include <cstddef>

// A system header may have renamed our members by now.
#undef GetClassInfo
#undef GetClassName

namespace QV {

class ClassInfo;
class ErrorStatus;
class Guid;
class IChannel;
class OChannel;
class ObjectState;
struct ClassType;
struct ClassVersion;

class QV_EXPORT Object {
protected:
    /// Checks a state against the class's expectations; sets the flag, where one is given, to whether it
    /// meets them. The base accepts every state.
    virtual ErrorStatus Validate(const ObjectState& state, bool* valid);
    /// Restores from a state that `Validate` has accepted. The base answers `ErrGeneral`.
    virtual ErrorStatus RestoreValidated(const ObjectState& state);

public:
    /// A copy of the most derived class, to be deleted by the caller. The base answers null.
    virtual Object* Clone() const;
    virtual ~Object();

    /// The class's record; null for a class that has none.
    virtual const ClassInfo* GetClassInfo() const;

    /// Reads and writes the serialized form. The base answers `ErrGeneral`.
    virtual QVErrCode Read(IChannel& ic);
    virtual QVErrCode Write(OChannel& oc) const;

    /// Writes the object's state into a tree. The base answers `ErrGeneral`.
    virtual ErrorStatus Store(ObjectState& state);
    /// Reads it back: validates, then restores. A state that is not valid changes nothing.
    virtual ErrorStatus Restore(const ObjectState& state);

    /// Readable text for diagnostics. The base writes the class name and a line feed.
    virtual void Print(OChannel& oc) const;
    virtual void Dump(OChannel& oc) const;

    /// Whether the object's invariants hold.
    virtual bool CheckState() const;

    /// From the class's record, which must be there.
    const char* GetClassName() const;
    const Guid& GetClassId() const;
    const ClassType& GetClassType() const;
    ClassVersion GetClassVersion() const;
    ClassVersion GetClassOldVersion() const;

    static void* operator new(std::size_t size);
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) noexcept;
    static void operator delete(void*, void*) noexcept {}

protected:
    Object() = default;
    Object(const Object&) = default;
    Object& operator=(const Object&) = default;
};

} // namespace QV
