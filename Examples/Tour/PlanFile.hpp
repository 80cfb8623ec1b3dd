/// A plan as a file: a mark, the byte order, then the objects. docs/formats.md has the form under "The tour's
/// plan".
#pragma once

#include "PlanObjects.hpp"

#include <QVRoot/Channel/PlatformSign.hpp>
#include <QVRoot/ObjectModel/ObjectOwner.hpp>

namespace Tour {

/// A plan and all its objects.
struct PlanDocument {
    Plan* plan = nullptr;
    QV::ObjectOwner objects;
};

/// A plan with so many rooms, 13 objects for each; always the same for the same number.
PlanDocument MakePlan(QV::UInt32 rooms);

/// Writes it in the byte order of a platform. The first error.
QV::QVErrCode SavePlan(QV::OChannel& oc, const Plan& plan, QV::PlatformSign platform);

/// Reads it in either byte order. On failure there is no plan; `what`, where given, gets a text.
QV::QVErrCode LoadPlan(QV::IChannel& ic, PlanDocument* document, QV::UniString* what = nullptr);

} // namespace Tour
