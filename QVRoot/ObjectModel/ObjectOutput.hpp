/// Writes objects together with all that they refer to, each of them once: shared objects and circles come
/// back as they were.
///
///     ObjectOutput out(channel);
///     if (const QVErrCode error = out.Write(&document)) …
///
/// An object writes what it refers to as references:
///
///     QVErrCode Wall::Write(OChannel& oc) const
///     {
///         const OutputFrame frame(oc, wallInfo);
///         oc << height_;
///         ObjectOutput::WriteReference(oc, opening_);   // null is allowed
///         return oc.GetOutputStatus();
///     }
///
/// Objects are written one after the other, never inside one another, so the depth of the graph does not
/// matter. Their classes must be registered (`ClassManager`). Frames may have sub versions, whether the
/// channel has marks or not. The form is described in docs/formats.md under "Object graphs".
///
/// Threads: one at a time; the objects must not change meanwhile. Errors: codes, sticky; `GetStatus` has a
/// text besides. `ErrGeneral` for an object whose class is not registered or abstract, `ErrMemoryFull`, the
/// channel's, and what an object's `Write` answers. Allocation: about 24 bytes for each object, and a buffer
/// of 64 KiB or the size of the largest object.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>

namespace QV {

class OChannel;
class Object;

namespace Impl {
class GraphWriter;
}

class QV_EXPORT ObjectOutput {
public:
    /// The channel must outlive it, and keep its protocol.
    explicit ObjectOutput(OChannel& oc) noexcept : channel_(oc) {}
    ~ObjectOutput();
    ObjectOutput(const ObjectOutput&) = delete;
    ObjectOutput& operator=(const ObjectOutput&) = delete;

    /// Writes the object, unless it has been written already, and all that can be reached from it and has
    /// not. Null is allowed. Several objects may be written one after the other, also with other values on
    /// the channel between them; they are to be read in the same order. An exception of an object's `Write`
    /// other than `OutOfMemoryException` passes through.
    QVErrCode Write(const Object* object);

    /// Called by an object's `Write`, with the channel that it got. `ErrGeneral` when that object is not
    /// being written by an `ObjectOutput`.
    static QVErrCode WriteReference(OChannel& oc, const Object* object);

    /// How many objects have been written.
    UInt32 GetObjectCount() const noexcept;

    /// The first error, and which object it was about.
    const ErrorStatus& GetStatus() const noexcept { return status_; }

private:
    OChannel& channel_;
    Impl::GraphWriter* writer_ = nullptr;
    ErrorStatus status_;
};

} // namespace QV
