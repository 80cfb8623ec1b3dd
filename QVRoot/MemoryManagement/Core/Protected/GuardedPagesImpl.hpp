/// Pages with an inaccessible page at one end.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

struct GuardedPages {
    char* region; ///< the whole, with the guard
    USize regionSize;
    char* begin; ///< the accessible part
    char* end;
};

/// Pages for `size` bytes, at least one, below or above their guard. False when the system has no memory, no
/// address space or no mapping left.
bool MakeGuardedPages(USize size, bool guardBelow, GuardedPages& pages) noexcept;

/// Gives everything back.
void ReleaseGuardedPages(char* region, USize regionSize) noexcept;

/// Gives the memory back and keeps the addresses, inaccessible.
void LockGuardedPages(char* region, USize regionSize) noexcept;

/// Mappings set aside. The system limits their number, and guarded pages could use up all of them: then no
/// thread could start and no library be loaded any more.
class MappingReserve {
public:
    constexpr MappingReserve() noexcept = default;

    void SetAside() noexcept;
    void GiveBack() noexcept;

private:
    static constexpr USize MappingCount = 512;

    char* pages_ = nullptr;
};

} // namespace QV::Impl
