/// What becomes of an allocation that the back end has refused. Kept out of line, so that the path of success
/// stays short.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

namespace QV::Impl {

/// Ask the failure handlers and try again; finally report and throw, or answer null.
void* AllocateAfterFailure(USize size, MemoryManager::ExceptionBehaviour behaviour, bool report);
void* ReallocateAfterFailure(void* block, USize size, MemoryManager::ExceptionBehaviour behaviour,
                             bool report);

/// The object that holds the failure handlers, or null as long as nobody has asked for it.
MemoryManager* GetManagerIfAny() noexcept;

} // namespace QV::Impl
