/// Archives written by one version of the document class and read by another.
#pragma once

#include "Document.hpp"
#include "Measurements.hpp"

namespace Tour {

/// What came of each pair. Throws `TourError` when a pair does not behave as it must.
QV::Array<VersionResult> CheckVersions(const QV::Array<Document>& documents);

} // namespace Tour
