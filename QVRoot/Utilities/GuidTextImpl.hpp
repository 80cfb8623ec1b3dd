/// The text of an identifier, in vector code for its usual forms and in plain loops for all.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/Utilities/Guid.hpp>

namespace QV::Impl {

/// Characters of a text with and without its separators.
inline constexpr UInt32 guidTextLength = 36;
inline constexpr UInt32 guidDigits = 32;

/// Writes 36 characters without a terminator.
void PrintGuid(const Guid& value, char* text) noexcept;
void PrintGuidPlainly(const Guid& value, char* text) noexcept;

/// Read 36 characters with '-' as separators, or 32 digits. False, and the value as it was, when they are
/// anything else.
bool ParseSeparatedGuid(const char* text, Guid& value) noexcept;
bool ParseSeparatedGuid(const unsigned short* text, Guid& value) noexcept;
bool ParseBareGuid(const char* text, Guid& value) noexcept;

/// The groups of a text that ends at `end` or, when that is null, at its terminator. With `prefix` the text
/// may end behind any group but not before the first.
template <class Unit>
QVErrCode ParseGuidPlainly(const Unit* text, const Unit* end, bool prefix, Guid& value) noexcept;

extern template QVErrCode ParseGuidPlainly(const char*, const char*, bool, Guid&) noexcept;
extern template QVErrCode ParseGuidPlainly(const unsigned short*, const unsigned short*, bool,
                                           Guid&) noexcept;

} // namespace QV::Impl
