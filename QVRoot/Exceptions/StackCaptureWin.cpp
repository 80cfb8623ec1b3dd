#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/Exceptions/StackWalkerImpl.hpp>

#include <algorithm>
#include <windows.h>

namespace QV::Impl {

namespace {

/// For stacks with frames that no rule expresses, and code that no module holds. The system counts in 16
/// bits, and what it finds behind a thread's start is not to be trusted.
[[gnu::noinline]] UInt32 CaptureBySystem(void** addresses, UInt32 capacity, UInt32 skip) noexcept
{
    constexpr UInt32 DepthMax = 0x7FFF;
    constexpr UInt32 OwnFrames = 2;
    if (skip >= DepthMax) {
        return 0;
    }
    const UInt32 count =
        CaptureStackBackTrace(skip + OwnFrames, std::min(capacity, DepthMax), addresses, nullptr);
    return static_cast<UInt32>(std::find(addresses, addresses + count, nullptr) - addresses);
}

} // namespace

[[gnu::noinline]] UInt32 CaptureStack(void** addresses, UInt32 capacity, UInt32 skip,
                                      CaptureMethod* method) noexcept
{
    // All three at one instruction, for which this function's own rule holds.
    StackRegisters registers;
    asm volatile("leaq 0(%%rip), %0\n\tmovq %%rsp, %1\n\tmovq %%rbp, %2"
                 : "=&r"(registers.pc), "=&r"(registers.sp), "=&r"(registers.fp));
    UInt32 depth = 0;
    const bool isDone = WalkStack(registers, addresses, capacity, skip, depth);
    if (!isDone) [[unlikely]] {
        depth = CaptureBySystem(addresses, capacity, skip);
    }
    if (method != nullptr) {
        *method = isDone ? CaptureMethod::Rules : CaptureMethod::System;
    }
    return depth;
}

} // namespace QV::Impl
