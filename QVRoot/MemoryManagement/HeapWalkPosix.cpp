#include <QVRoot/MemoryManagement/HeapWalkImpl.hpp>

namespace QV::Impl {

HeapStatus WalkHeap(void (*)(const HeapBlock& block, void* context), void*)
{
    return HeapStatus::End;
}

} // namespace QV::Impl
