/// What states must look like: schemas for single values, lists and objects, which nest.
///
///     static const RealSchema height(0.0, 100.0);
///     static const ObjectSchema wall = ObjectSchema().Require(u"height", height).Allow(u"name", text);
///
///     ErrorStatus Wall::Validate(const ObjectState& state, bool* valid) { return wall.Validate(state,
///     valid); }
///
/// A state that does not fit is `ErrDataIntegrity`, with a text that names the place: "layers[2].height: a
/// number from 0 to 100 is expected".
///
/// Threads: constant once built, then any. Errors: `OutOfMemoryException`. Allocation: names, and texts about
/// what does not fit.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>

namespace QV {

/// A value of one kind.
class QV_EXPORT KindSchema : public ObjectState::Schema {
public:
    explicit KindSchema(ObjectState::Kind kind) noexcept : kind_(kind) {}
    ErrorStatus Validate(const ObjectState& state, bool* valid) const override;

private:
    ObjectState::Kind kind_;
};

/// An integer within limits, which belong to it.
class QV_EXPORT IntegerSchema : public ObjectState::Schema {
public:
    IntegerSchema(Int64 least, Int64 most) noexcept : least_(least), most_(most) {}
    ErrorStatus Validate(const ObjectState& state, bool* valid) const override;

private:
    Int64 least_;
    Int64 most_;
};

/// A real, or an integer, within limits, which belong to it; never "not a number".
class QV_EXPORT RealSchema : public ObjectState::Schema {
public:
    RealSchema(double least, double most) noexcept : least_(least), most_(most) {}
    ErrorStatus Validate(const ObjectState& state, bool* valid) const override;

private:
    double least_;
    double most_;
};

/// A list whose elements all fit one schema, which must outlive it.
class QV_EXPORT ListSchema : public ObjectState::Schema {
public:
    explicit ListSchema(const Schema& element, UInt32 leastCount = 0, UInt32 mostCount = 0xFFFFFFFF) noexcept
        : element_(element), leastCount_(leastCount), mostCount_(mostCount)
    {
    }
    ErrorStatus Validate(const ObjectState& state, bool* valid) const override;

private:
    const Schema& element_;
    UInt32 leastCount_;
    UInt32 mostCount_;
};

/// An object with certain fields. Their schemas must outlive it.
class QV_EXPORT ObjectSchema : public ObjectState::Schema {
public:
    /// A field that must be there, and one that may be.
    ObjectSchema& Require(const UniString& name, const Schema& schema);
    ObjectSchema& Allow(const UniString& name, const Schema& schema);
    /// Lets other fields pass: a newer version's. Without this they are refused.
    ObjectSchema& AllowOthers() noexcept;

    ErrorStatus Validate(const ObjectState& state, bool* valid) const override;

private:
    struct Field {
        UniString name;
        const Schema* schema;
        bool isRequired;
    };

    ErrorStatus CheckFields(const ObjectState& state) const;
    const Field* Find(const UniString& name) const;

    Array<Field> fields_;
    bool othersAllowed_ = false;
};

} // namespace QV
