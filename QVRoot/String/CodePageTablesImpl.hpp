/// The code-page tables that scripts/MakeTextTables.cpp writes.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <span>

namespace QV::Impl {

/// The unit of each byte.
extern const UInt16 SingleBytePage1250[256];
extern const UInt16 SingleBytePage1251[256];
extern const UInt16 SingleBytePage1252[256];
extern const UInt16 SingleBytePage1253[256];
extern const UInt16 SingleBytePage1254[256];
extern const UInt16 SingleBytePage1255[256];
extern const UInt16 SingleBytePage1256[256];
extern const UInt16 SingleBytePage1257[256];
extern const UInt16 SingleBytePage874[256];

/// What a page encodes other than by the inverse of its decoding, ascending. A single-byte page: the unit
/// shifted left by 8, and its byte; those that all these pages have in common are kept apart. A double-byte
/// page: the unit shifted left by 16, and its one or two bytes as a number.
std::span<const UInt32> GetSharedBestFits() noexcept;
std::span<const UInt32> GetBestFits(UInt32 page) noexcept;

} // namespace QV::Impl
