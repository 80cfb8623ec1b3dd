/// Memory for the heap's own records, which are reused but never given back.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl::Pooled {

/// Zeroed memory, or null. `alignment` is a power of two not above 4096.
void* AllocateMetadata(USize size, USize alignment) noexcept;

/// The bytes taken from the system for it.
USize GetMetadataBytes() noexcept;

} // namespace QV::Impl::Pooled
