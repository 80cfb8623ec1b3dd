/// The test for a reference that refers to nothing.
#pragma once

namespace QV::Impl {

/// Takes the reference's address. Out of line and through a volatile pointer: a compiler may take for granted that a reference is not null.
bool IsNullReference(const volatile void* address) noexcept;

} // namespace QV::Impl
