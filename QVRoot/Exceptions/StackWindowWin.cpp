#include <QVRoot/Exceptions/StackWindowImpl.hpp>

#include <windows.h>

namespace QV::Impl {

// The system keeps the bounds current when fibers are switched.
StackWindow::StackWindow(UInt64 stackPointer) noexcept : begin_(stackPointer), end_(stackPointer)
{
    ULONG_PTR low = 0;
    ULONG_PTR high = 0;
    GetCurrentThreadStackLimits(&low, &high);
    if (stackPointer >= low && stackPointer < high) {
        end_ = high;
    }
}

StackWindow::~StackWindow() = default;

bool StackWindow::GrowTo(UInt64) noexcept
{
    return false;
}

} // namespace QV::Impl
