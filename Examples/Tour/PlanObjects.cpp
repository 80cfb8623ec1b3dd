#include "PlanObjects.hpp"
#include "PlanDigest.hpp"

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>
#include <QVRoot/ObjectModel/ObjectInput.hpp>
#include <QVRoot/ObjectModel/ObjectOutput.hpp>

namespace Tour {

using namespace QV;

namespace {

constexpr Guid MakeId(UInt8 number)
{
    return Guid(0x6C1D0E52, 0x94A7, 0x4B3F, {0x9E, 0x21, 0x5A, 0x07, 0xC8, 0x36, 0xF1, number});
}

constexpr ClassInfo materialInfo("Tour::Material", {2, 1}, MakeId(1), {2, 0}, {1, 0});
constexpr ClassInfo layerInfo("Tour::Layer", {2, 2}, MakeId(2), {1, 0}, {1, 0});
constexpr ClassInfo openingInfo("Tour::Opening", {2, 3}, MakeId(3), {1, 0}, {1, 0});
constexpr ClassInfo wallInfo("Tour::Wall", {2, 4}, MakeId(4), {2, 1}, {1, 0});
constexpr ClassInfo labelInfo("Tour::Label", {2, 5}, MakeId(5), {2, 0}, {1, 0});
constexpr ClassInfo planInfo("Tour::Plan", {2, 6}, MakeId(6), {1, 0}, {1, 0});

const RegisteredClass<Material> material(materialInfo);
const RegisteredClass<Layer> layer(layerInfo);
const RegisteredClass<Opening> opening(openingInfo);
const RegisteredClass<Wall> wall(wallInfo);
const RegisteredClass<Label> label(labelInfo);
const RegisteredClass<Plan> plan(planInfo);

/// Reads one field: a reference, a list of references or a value.
template <class T>
QVErrCode ReadField(IChannel& ic, T& value)
{
    return ic.Read(value);
}

template <class T>
QVErrCode ReadField(IChannel& ic, T*& object)
{
    return ObjectInput::ReadReference(ic, object);
}

template <class T>
QVErrCode ReadField(IChannel& ic, Array<T*>& objects)
{
    UInt32 count = 0;
    QVErrCode error = ic.Read(count);
    objects.Clear();
    // Whatever the count says, memory grows only as references arrive.
    for (UInt32 i = 0; i < count && error == NoError; ++i) {
        error = ObjectInput::ReadReference(ic, objects.Emplace(nullptr));
    }
    return error;
}

/// The fields one after the other; the first error.
template <class... Fields>
QVErrCode ReadFields(IChannel& ic, Fields&... fields)
{
    QVErrCode error = NoError;
    (void)((error = ReadField(ic, fields), error == NoError) && ...);
    return IChannel::ConvertObjectReadError(error);
}

template <class T>
void WriteField(OChannel& oc, const T& value)
{
    oc.Write(value);
}

template <class T>
void WriteField(OChannel& oc, T* const& object)
{
    ObjectOutput::WriteReference(oc, object);
}

template <class T>
void WriteField(OChannel& oc, const Array<T*>& objects)
{
    oc.Write(objects.GetCount());
    for (const T* const object : objects) {
        ObjectOutput::WriteReference(oc, object);
    }
}

template <class... Fields>
void AddFields(PlanDigest& digest, const Fields&... fields)
{
    (digest.Add(fields), ...);
}

template <class... Fields>
QVErrCode WriteFields(OChannel& oc, const Fields&... fields)
{
    (WriteField(oc, fields), ...);
    return oc.GetOutputStatus();
}

/// Fields that came with version 2.
template <class... Fields>
QVErrCode ReadNewFields(IChannel& ic, const InputFrame& frame, QVErrCode error, Fields&... fields)
{
    return error != NoError || frame.GetMainVersion() < 2 ? error : ReadFields(ic, fields...);
}

template <class... Fields>
QVErrCode WriteNewFields(OChannel& oc, const OutputFrame& frame, const Fields&... fields)
{
    return frame.GetMainVersion() < 2 ? oc.GetOutputStatus() : WriteFields(oc, fields...);
}

/// What a frame says about the data behind it.
QVErrCode GetStatus(const InputFrame& frame)
{
    return IChannel::ConvertObjectReadError(frame.GetStatus());
}

} // namespace

const ClassInfo* Material::GetClassInfo() const
{
    return &materialInfo;
}

QVErrCode Material::Read(IChannel& ic)
{
    const InputFrame frame(ic, materialInfo);
    QVErrCode error = GetStatus(frame);
    error = error != NoError ? error : ReadFields(ic, name, id, color);
    return ReadNewFields(ic, frame, error, density);
}

QVErrCode Material::Write(OChannel& oc) const
{
    const OutputFrame frame(oc, materialInfo);
    WriteFields(oc, name, id, color);
    return WriteNewFields(oc, frame, density);
}

void Material::AddTo(PlanDigest& digest) const
{
    AddFields(digest, name, UInt64{id.GetData1()}, UInt64{color}, density);
}

const ClassInfo* Layer::GetClassInfo() const
{
    return &layerInfo;
}

QVErrCode Layer::Read(IChannel& ic)
{
    const InputFrame frame(ic, layerInfo);
    UInt8 visible = 0;
    QVErrCode error = GetStatus(frame);
    error = error != NoError ? error : ReadFields(ic, name, visible);
    isVisible = visible != 0;
    return error;
}

QVErrCode Layer::Write(OChannel& oc) const
{
    const OutputFrame frame(oc, layerInfo);
    return WriteFields(oc, name, isVisible);
}

void Layer::AddTo(PlanDigest& digest) const
{
    AddFields(digest, name, UInt64{isVisible});
}

const ClassInfo* Opening::GetClassInfo() const
{
    return &openingInfo;
}

QVErrCode Opening::Read(IChannel& ic)
{
    const InputFrame frame(ic, openingInfo);
    const QVErrCode error = GetStatus(frame);
    return error != NoError ? error : ReadFields(ic, wall, offset, width, kind);
}

QVErrCode Opening::Write(OChannel& oc) const
{
    const OutputFrame frame(oc, openingInfo);
    return WriteFields(oc, wall, offset, width, kind);
}

void Opening::AddTo(PlanDigest& digest) const
{
    AddFields(digest, wall, offset, width, UInt64{kind});
}

const ClassInfo* Wall::GetClassInfo() const
{
    return &wallInfo;
}

QVErrCode Wall::Read(IChannel& ic)
{
    const InputFrame frame(ic, wallInfo);
    QVErrCode error = GetStatus(frame);
    error = error != NoError
                ? error
                : ReadFields(ic, layer, material, next, ends[0], ends[1], ends[2], ends[3], openings);
    return ReadNewFields(ic, frame, error, height);
}

QVErrCode Wall::Write(OChannel& oc) const
{
    const OutputFrame frame(oc, wallInfo);
    WriteFields(oc, layer, material, next, ends[0], ends[1], ends[2], ends[3], openings);
    return WriteNewFields(oc, frame, height);
}

void Wall::AddTo(PlanDigest& digest) const
{
    AddFields(digest, layer, material, next, ends[0], ends[1], ends[2], ends[3], openings, height);
}

const ClassInfo* Label::GetClassInfo() const
{
    return &labelInfo;
}

QVErrCode Label::Read(IChannel& ic)
{
    const InputFrame frame(ic, labelInfo);
    QVErrCode error = GetStatus(frame);
    error = error != NoError ? error : ReadFields(ic, text, target, layer);
    return ReadNewFields(ic, frame, error, size);
}

QVErrCode Label::Write(OChannel& oc) const
{
    const OutputFrame frame(oc, labelInfo);
    WriteFields(oc, text, target, layer);
    return WriteNewFields(oc, frame, size);
}

void Label::AddTo(PlanDigest& digest) const
{
    AddFields(digest, text, target, layer, size);
}

const ClassInfo* Plan::GetClassInfo() const
{
    return &planInfo;
}

QVErrCode Plan::Read(IChannel& ic)
{
    const InputFrame frame(ic, planInfo);
    const QVErrCode error = GetStatus(frame);
    return error != NoError ? error : ReadFields(ic, name, materials, layers, items);
}

QVErrCode Plan::Write(OChannel& oc) const
{
    const OutputFrame frame(oc, planInfo);
    return WriteFields(oc, name, materials, layers, items);
}

void Plan::AddTo(PlanDigest& digest) const
{
    AddFields(digest, name, materials, layers, items);
}

} // namespace Tour
