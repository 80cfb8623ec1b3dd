/// The runtime library's path functions, for bytes and for UTF-16 units on both platforms.
///
/// A buffer of `length` units is filled and returned; without one the result is a block of the runtime's
/// `malloc`, however long. Null on failure. Null and empty paths ask for the current directory.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl::Paths {

char* GetFull(char* buffer, const char* path, USize length) noexcept;
UInt16* GetFull(UInt16* buffer, const UInt16* path, USize length) noexcept;

char* GetCurrent(char* buffer, int length) noexcept;
UInt16* GetCurrent(UInt16* buffer, int length) noexcept;

/// Arguments may be null. The result is a block of `malloc`.
char* GetTemporary(const char* directory, const char* prefix) noexcept;
UInt16* GetTemporary(const UInt16* directory, const UInt16* prefix) noexcept;

} // namespace QV::Impl::Paths
