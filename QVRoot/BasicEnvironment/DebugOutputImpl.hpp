/// The platform's place for debug output.
#pragma once

namespace QV::Impl {

/// Writes zero-terminated text, without allocating and without blocking on the library.
void WriteDebugOutput(const char* text) noexcept;

} // namespace QV::Impl
