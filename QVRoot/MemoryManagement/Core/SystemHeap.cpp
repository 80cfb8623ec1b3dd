#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>
#include <QVRoot/MemoryManagement/Core/SystemHeapImpl.hpp>

#include <cstdlib>

namespace QV::Impl {

const BackEnd& GetSystemHeap() noexcept
{
    static constexpr BackEnd backEnd = {
        [](USize size) { return std::malloc(size); },
        [](void* block, USize size) { return std::realloc(block, size); },
        [](void* block) { std::free(block); },
        [](void* block) { return SystemHeap::GetBlockSize(block); },
        [] { return SystemHeap::Check(); },
        "Default",
    };
    return backEnd;
}

} // namespace QV::Impl
