/// The part of the tour about whole documents: a plan of more than 100,000 objects is saved and loaded in both
/// byte orders, and plans are read that earlier versions and the other platform wrote.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace Tour {

/// Does it and prints what came out, with the fastest of the passes. Throws `TourError` when a plan that was read is not the one that was
/// written.
void WorkWithDocuments(QV::UInt32 passes);

} // namespace Tour
