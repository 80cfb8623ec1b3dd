/// The maps between the old Mac's character sets and the code pages that took their place.
///
/// Each pair of maps leaves ASCII alone and is the inverse of the other, so that a text that went to the
/// other side comes back as it was. A character that both sets have is mapped to itself; of the others each
/// is mapped to one that the other set has alone.
///
/// They were made from the tables that the Unicode Consortium publishes, VENDORS/APPLE and
/// VENDORS/MICSFT/WINDOWS; which of them stands above each map.
#pragma once

#include <QVRoot/String/CharCode.hpp>

namespace QV::Impl {

/// 256 bytes each, or null for a code page without a counterpart on the Mac.
struct MacMaps {
    const UInt8* macToWin = nullptr;
    const UInt8* winToMac = nullptr;
};

/// The maps of a code page, not of a value that stands for another: those of the European languages, Hebrew
/// and Arabic. The Baltic languages shared the Mac's set with Central Europe.
MacMaps FindMacMaps(QVCharCode code) noexcept;

} // namespace QV::Impl
