/// A plan as a program for drawing keeps it: objects of several classes that refer to one another, in
/// circles, too. They are the classes of the document that `DocumentWork` saves and loads.
///
/// Each class registers itself where it is implemented; nothing else lists them. Walls, labels and materials
/// got one more field each with version 2; what version 1 wrote is still read, and can still be written.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/ObjectModel/ClassManager.hpp>
#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/String/UniString.hpp>

namespace Tour {

class PlanDigest;
class Wall;

class PlanObject : public QV::Object {
public:
    virtual void AddTo(PlanDigest& digest) const = 0;
};

class Material : public PlanObject {
public:
    QV::UniString name;
    QV::Guid id;
    QV::UInt32 color = 0;
    double density = 1000; ///< kg/m³; since version 2

    const QV::ClassInfo* GetClassInfo() const override;
    QV::QVErrCode Read(QV::IChannel& ic) override;
    QV::QVErrCode Write(QV::OChannel& oc) const override;
    void AddTo(PlanDigest& digest) const override;
};

class Layer : public PlanObject {
public:
    QV::UniString name;
    bool isVisible = true;

    const QV::ClassInfo* GetClassInfo() const override;
    QV::QVErrCode Read(QV::IChannel& ic) override;
    QV::QVErrCode Write(QV::OChannel& oc) const override;
    void AddTo(PlanDigest& digest) const override;
};

/// A door or window. It knows its wall, and the wall knows it.
class Opening : public PlanObject {
public:
    Wall* wall = nullptr;
    double offset = 0;
    double width = 1;
    QV::UInt8 kind = 0;

    const QV::ClassInfo* GetClassInfo() const override;
    QV::QVErrCode Read(QV::IChannel& ic) override;
    QV::QVErrCode Write(QV::OChannel& oc) const override;
    void AddTo(PlanDigest& digest) const override;
};

/// Walls of a room follow one another in a ring.
class Wall : public PlanObject {
public:
    Layer* layer = nullptr;
    Material* material = nullptr;
    Wall* next = nullptr;
    double ends[4] = {};
    QV::Array<Opening*> openings;
    double height = 2.5; ///< since version 2

    const QV::ClassInfo* GetClassInfo() const override;
    QV::QVErrCode Read(QV::IChannel& ic) override;
    QV::QVErrCode Write(QV::OChannel& oc) const override;
    void AddTo(PlanDigest& digest) const override;
};

/// A text that belongs to an object of any class.
class Label : public PlanObject {
public:
    QV::UniString text;
    PlanObject* target = nullptr;
    Layer* layer = nullptr;
    double size = 12; ///< since version 2

    const QV::ClassInfo* GetClassInfo() const override;
    QV::QVErrCode Read(QV::IChannel& ic) override;
    QV::QVErrCode Write(QV::OChannel& oc) const override;
    void AddTo(PlanDigest& digest) const override;
};

/// The whole: from here every object of the plan can be reached.
class Plan : public PlanObject {
public:
    QV::UniString name;
    QV::Array<Material*> materials;
    QV::Array<Layer*> layers;
    QV::Array<PlanObject*> items; ///< walls and labels

    const QV::ClassInfo* GetClassInfo() const override;
    QV::QVErrCode Read(QV::IChannel& ic) override;
    QV::QVErrCode Write(QV::OChannel& oc) const override;
    void AddTo(PlanDigest& digest) const override;
};

} // namespace Tour
