/// What the back end's functions do when the calling thread's cache cannot serve them at once.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl::Pooled {

/// A block of any size, or null.
void* AllocateAnySize(USize size) noexcept;

/// Releases a block in use, or null; ends the process when it is not one.
void FreeAnyBlock(void* block) noexcept;

/// Resizes a block in use, in place where that wastes little. Null with the old block intact when memory is
/// exhausted.
void* ReallocateBlock(void* block, USize size) noexcept;

USize GetBlockSize(const void* block) noexcept;

} // namespace QV::Impl::Pooled
