/// The platform's virtual memory: whole pages of address space.
///
/// Sizes and addresses are multiples of `GetPageSize()`. Failure is null or false, never an exception. Fresh
/// and recommitted pages read as zero.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl::VirtualMemory {

/// Bytes of a page.
USize GetPageSize() noexcept;

/// Address space without memory behind it. `alignment` is 0 or a power of two not below the page size.
void* Reserve(USize size, USize alignment = 0) noexcept;

/// Puts memory behind reserved pages, readable and writable.
bool Commit(void* address, USize size) noexcept;

/// Takes the memory away again, the address space stays reserved. The pages must not be touched until they
/// are committed again.
void Decommit(void* address, USize size) noexcept;

/// Puts memory behind decommitted pages again. Needs no call of the system where decommitted pages stay
/// accessible.
bool Recommit(void* address, USize size) noexcept;

/// Whether the system should put pages of the processor's larger sizes behind the range, or must not. A hint;
/// nothing where the system has no such choice.
void SetHugePages(void* address, USize size, bool wanted) noexcept;

/// Replaces a range of small pages, all of which have memory, by huge ones at once: it takes as long as
/// copying the range. A hint as well.
void JoinPages(void* address, USize size) noexcept;

/// Makes committed pages inaccessible, so that touching them faults; their memory need not be kept.
bool Protect(void* address, USize size) noexcept;

/// Gives back what one `Reserve` answered, whole, committed or not.
void Release(void* address, USize size) noexcept;

/// Resizes what one `Reserve` answered (committed throughout, alignment 0), moving it where necessary without
/// copying. Null when the platform cannot or there is no room: then the old pages are untouched.
void* Resize(void* address, USize oldSize, USize newSize) noexcept;

} // namespace QV::Impl::VirtualMemory
