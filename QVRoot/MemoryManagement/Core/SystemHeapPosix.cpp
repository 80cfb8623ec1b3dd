#include <QVRoot/MemoryManagement/Core/SystemHeapImpl.hpp>

#include <malloc.h>

namespace QV::Impl::SystemHeap {

USize GetBlockSize(void* block) noexcept
{
    return malloc_usable_size(block);
}

bool Check() noexcept
{
    // This runtime checks its heap as it goes and has no check to ask for.
    return true;
}

bool IsPageHeapEnabled() noexcept
{
    return false;
}

} // namespace QV::Impl::SystemHeap
