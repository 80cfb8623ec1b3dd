#include <QVRoot/MemoryManagement/HeapWalkImpl.hpp>

#include <malloc.h>

namespace QV::Impl {

namespace {

HeapStatus ToStatus(int result) noexcept
{
    switch (result) {
    case _HEAPEND:
        return HeapStatus::End;
    case _HEAPEMPTY:
        return HeapStatus::Empty;
    case _HEAPBADPTR:
        return HeapStatus::BadPointer;
    case _HEAPBADBEGIN:
        return HeapStatus::BadStart;
    case _HEAPBADNODE:
        return HeapStatus::BadNode;
    }
    return HeapStatus::Unknown;
}

} // namespace

HeapStatus WalkHeap(void (*visit)(const HeapBlock& block, void* context), void* context)
{
    _HEAPINFO entry = {};
    int result;
    while ((result = _heapwalk(&entry)) == _HEAPOK) {
        visit({entry._pentry, entry._size, entry._useflag == _USEDENTRY}, context);
    }
    return ToStatus(result);
}

} // namespace QV::Impl
