/// Reads objects that `ObjectOutput` wrote, with all that they refer to.
///
///     ObjectInput in(channel);
///     Document* document = nullptr;
///     if (const QVErrCode error = in.Read(document)) …
///     const ObjectOwner objects = in.TakeObjects();   // from here on they are the caller's
///
/// An object reads what it refers to as references:
///
///     return ObjectInput::ReadReference(ic, opening_);
///
/// The object behind a reference exists then, but may not have been read yet: an object's `Read` keeps the
/// pointer and does not look at what it points to.
///
/// Whose the objects are: the `ObjectInput`'s, which deletes them in the end and after every error, until
/// `TakeObjects`; but an object that another one owns reads it with `ReadOwned` and is that one's from then
/// on. That an object would have two owners, or own itself in a circle, is refused.
///
/// Threads: one at a time. Errors: codes, sticky; `GetStatus` has a text besides. `ErrDataIntegrity` for a
/// graph that is damaged or ends too early, `ErrGeneral` for an object of an unknown class, `ErrMemoryFull`,
/// the channel's, and what an object's `Read` answers. `ErrEndOfInput` when the input ends before the graph
/// begins. Whatever the input claims, memory grows only as it arrives, and nothing recurses. Allocation:
/// about 16 bytes for each object, and a buffer for one piece of the input, 64 KiB unless an object is
/// larger.
#pragma once

#include <QVRoot/ObjectModel/ObjectOwner.hpp>

#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>

#include <type_traits>
#include <typeinfo>

namespace QV {

class IChannel;

namespace Impl {
class GraphReader;
}

class QV_EXPORT ObjectInput {
public:
    /// What becomes of an object whose class is not registered or cannot be created.
    enum UnknownClasses {
        RefuseUnknown = 0, ///< reading fails
        SkipUnknown = 1,   ///< references to it are null
        KeepUnknown = 2,   ///< it becomes an `OpaqueObject`, which writes itself as it was read; references
                           ///< to a class that it is not of are null
    };

    /// The channel must outlive it, and keep its protocol.
    explicit ObjectInput(IChannel& ic, UnknownClasses unknown = RefuseUnknown) noexcept
        : channel_(ic), unknown_(unknown)
    {
    }
    ~ObjectInput();
    ObjectInput(const ObjectInput&) = delete;
    ObjectInput& operator=(const ObjectInput&) = delete;

    /// Reads what one `ObjectOutput::Write` wrote. `ErrDataIntegrity` for an object that is no T. On failure
    /// the pointer stays as it was. An exception of an object other than `OutOfMemoryException` passes
    /// through; the objects are deleted then, too.
    template <class T>
    QVErrCode Read(T*& object)
    {
        Object* read = nullptr;
        const QVErrCode error = ReadRoot(read);
        return error != NoError || Cast(read, object) ? error : RefuseRoot();
    }

    /// Called by an object's `Read`, with the channel that it got. `ErrGeneral` when that object is not being
    /// read by an `ObjectInput`; `ErrDataIntegrity` for an object that is no T. On failure the pointer stays
    /// as it was.
    template <class T>
    static QVErrCode ReadReference(IChannel& ic, T*& object)
    {
        Object* read = nullptr;
        const QVErrCode error = ReadObject(ic, read);
        return error != NoError || Cast(read, object) ? error : RefuseObject(ic);
    }

    /// The same for an object that becomes the reading one's. `ErrDataIntegrity` also when it has an owner
    /// already, is an owner of the reading one, or when owners would be nested deeper than 1000 levels, which
    /// their destructors are.
    template <class T>
    static QVErrCode ReadOwned(IChannel& ic, std::unique_ptr<T>& object)
    {
        T* read = nullptr;
        QVErrCode error = ReadReference(ic, read);
        if (error == NoError && read != nullptr) {
            error = OwnObject(ic);
        }
        if (error == NoError) {
            object.reset(read);
        }
        return error;
    }

    /// Hands over all objects that no other one owns, in the order in which they were first referred to.
    /// Later reads may still refer to them: they must outlive those. After a failure there are none. Throws
    /// `OutOfMemoryException`, and nothing has changed hands then.
    ObjectOwner TakeObjects();

    /// How many objects the input had so far, and how many of them are of unknown classes.
    UInt32 GetObjectCount() const noexcept;
    UInt32 GetUnknownCount() const noexcept;

    /// The first error, and which object it was about.
    const ErrorStatus& GetStatus() const noexcept { return status_; }

private:
    QVErrCode ReadRoot(Object*& root);
    QVErrCode RefuseRoot();
    static QVErrCode ReadObject(IChannel& ic, Object*& object);
    static QVErrCode RefuseObject(IChannel& ic);
    static QVErrCode OwnObject(IChannel& ic);
    static bool IsOpaque(const Object& object) noexcept;
    QVErrCode Fail(QVErrCode error) noexcept;

    /// Answers false when the object is of another class.
    template <class T>
    static bool Cast(Object* read, T*& object)
    {
        T* cast = nullptr;
        if constexpr (requires { static_cast<T*>(read); }) {
            if (read != nullptr && (std::is_same_v<T, Object> || typeid(*read) == typeid(T))) {
                cast = static_cast<T*>(read);
            }
        }
        if (cast == nullptr && read != nullptr) {
            cast = dynamic_cast<T*>(read);
        }
        if (cast == nullptr && read != nullptr && !IsOpaque(*read)) {
            return false;
        }
        object = cast;
        return true;
    }

    IChannel& channel_;
    UnknownClasses unknown_;
    Impl::GraphReader* reader_ = nullptr;
    ErrorStatus status_;
};

} // namespace QV
