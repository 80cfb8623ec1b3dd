/// An object of a class that this program does not know, kept as it was read: an archive goes through the
/// program unharmed although a module is missing.
///
/// `ObjectInput` makes them under `KeepUnknown`. They can be written in the encoding that they were read in
/// only, and by an `ObjectOutput` only.
///
/// Threads: one at a time. Errors: codes. Allocation: the name, the data and a list of references.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/ObjectModel/ClassInfo.hpp>
#include <QVRoot/ObjectModel/Object.hpp>

namespace QV {

namespace Impl {
class GraphReader;
}

class QV_EXPORT OpaqueObject final : public Object {
public:
    ~OpaqueObject() override;

    /// Name, identifier and the version that was written, which is current and old version here. There is no
    /// type.
    const ClassInfo* GetClassInfo() const override { return &info_; }

    /// `ErrGeneral` in another encoding than it was read in, or outside an object output.
    QVErrCode Write(OChannel& oc) const override;

    /// What the object wrote.
    const Array<char>& GetData() const noexcept { return data_; }
    /// What it refers to, in its order.
    const Array<Object*>& GetReferences() const noexcept { return references_; }

private:
    friend class Impl::GraphReader;
    OpaqueObject(const ClassInfo& info, UInt32 encoding);
    void SetContent(const char* begin, const char* end);

    Array<char> name_;
    ClassInfo info_;
    UInt32 encoding_; ///< the number that the encoding makes of the bytes 1, 2, 3, 4
    Array<char> data_;
    Array<Object*> references_;
};

} // namespace QV
