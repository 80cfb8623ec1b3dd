#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/ClassInfo.hpp>
#include <QVRoot/ObjectModel/ObjectState.hpp>

#include <algorithm>
#include <new>

namespace QV {

namespace {

constexpr ClassVersion formVersion = {1, 0};

/// From here on comparing each name with each other would take too long.
constexpr UInt32 fewFields = 16;

} // namespace

QVErrCode ObjectState::Write(OChannel& oc) const
{
    formVersion.Write(oc);
    WriteTree(oc);
    return oc.GetOutputStatus();
}

/// A byte for the kind, then the value.
void ObjectState::WriteTree(OChannel& oc) const
{
    oc.Write(static_cast<UInt8>(kind_));
    switch (kind_) {
    case EmptyKind:
        return;
    case BooleanKind:
        oc.Write(static_cast<UInt8>(boolean_));
        return;
    case IntegerKind:
        oc.Write(integer_);
        return;
    case RealKind:
        oc.Write(real_);
        return;
    case StringKind:
        oc.Write(string_);
        return;
    case ListKind:
    case ObjectKind:
        break;
    }
    oc.Write(children_.GetCount());
    for (UInt32 i = 0; i < children_.GetCount() && oc.GetOutputStatus() == NoError; ++i) {
        if (kind_ == ObjectKind) {
            oc.Write(names_[i]);
        }
        children_[i].WriteTree(oc);
    }
}

QVErrCode ObjectState::Read(IChannel& ic)
{
    Clear();
    QVErrCode error = NoError;
    try {
        ClassVersion version;
        error = version.Read(ic);
        if (error == NoError) {
            error = version == formVersion ? ReadTree(ic, 0) : ErrGeneral;
        }
    } catch (const std::bad_alloc&) {
        error = ErrMemoryFull;
    }
    if (error != NoError) {
        Clear();
    }
    return error;
}

/// `depth` containers are around it. The value is empty.
QVErrCode ObjectState::ReadTree(IChannel& ic, unsigned int depth)
{
    UInt8 kind = 0;
    if (const QVErrCode error = ic.Read(kind)) {
        return error;
    }
    if (kind > ObjectKind || (kind >= ListKind && depth >= MaxDepth)) {
        return ErrDataIntegrity;
    }
    kind_ = static_cast<Kind>(kind);
    return kind_ >= ListKind ? ReadChildren(ic, depth + 1) : ReadScalar(ic);
}

QVErrCode ObjectState::ReadScalar(IChannel& ic)
{
    UInt8 byte = 0;
    switch (kind_) {
    case BooleanKind:
        if (const QVErrCode error = ic.Read(byte)) {
            return error;
        }
        boolean_ = byte != 0;
        return byte > 1 ? ErrDataIntegrity : NoError;
    case IntegerKind:
        return ic.Read(integer_);
    case RealKind:
        return ic.Read(real_);
    case StringKind:
        return ic.Read(string_);
    default:
        return NoError;
    }
}

QVErrCode ObjectState::ReadChildren(IChannel& ic, unsigned int depth)
{
    depth_ = 1;
    UInt32 count = 0;
    if (const QVErrCode error = ic.Read(count)) {
        return error;
    }
    // Whatever the count says, memory grows only as values arrive.
    for (UInt32 i = 0; i < count; ++i) {
        if (kind_ == ObjectKind) {
            if (const QVErrCode error = ic.Read(names_.Emplace())) {
                return error;
            }
        }
        ObjectState& child = children_.Emplace();
        if (const QVErrCode error = child.ReadTree(ic, depth)) {
            return error;
        }
        depth_ = std::max(depth_, child.depth_ + 1);
    }
    return HasFieldTwice() ? ErrDataIntegrity : NoError;
}

bool ObjectState::HasFieldTwice() const
{
    if (names_.GetCount() <= fewFields) {
        for (UInt32 i = 1; i < names_.GetCount(); ++i) {
            if (std::find(names_.begin(), names_.begin() + i, names_[i]) != names_.begin() + i) {
                return true;
            }
        }
        return false;
    }
    Array<std::u16string_view> sorted;
    sorted.Reserve(names_.GetCount());
    for (const UniString& name : names_) {
        sorted.Append(name.GetView());
    }
    std::sort(sorted.begin(), sorted.end());
    return std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end();
}

} // namespace QV
