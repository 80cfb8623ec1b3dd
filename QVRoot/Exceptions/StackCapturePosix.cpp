#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/Exceptions/StackWalkerImpl.hpp>

#include <unwind.h>

namespace QV::Impl {

namespace {

struct Trace {
    void* first; // recording begins here
    void** addresses;
    UInt32 capacity;
    UInt32 skip;
    UInt32 depth;
};

_Unwind_Reason_Code RecordFrame(_Unwind_Context* context, void* data)
{
    auto& trace = *static_cast<Trace*>(data);
    auto* address = reinterpret_cast<void*>(_Unwind_GetIP(context));
    if (trace.first != nullptr && address != trace.first) {
        return _URC_NO_REASON;
    }
    trace.first = nullptr;
    if (address == nullptr || trace.depth == trace.capacity) {
        return _URC_END_OF_STACK;
    }
    if (trace.skip != 0) {
        --trace.skip;
    } else {
        trace.addresses[trace.depth++] = address;
    }
    return _URC_NO_REASON;
}

/// For stacks with frames that no rule expresses: signal handlers, and code written for the occasion.
UInt32 CaptureByRuntime(void* first, void** addresses, UInt32 capacity, UInt32 skip) noexcept
{
    Trace trace = {first, addresses, capacity, skip, 0};
    _Unwind_Backtrace(RecordFrame, &trace);
    return trace.depth;
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
        depth = CaptureByRuntime(__builtin_return_address(0), addresses, capacity, skip);
    }
    if (method != nullptr) {
        *method = isDone ? CaptureMethod::Rules : CaptureMethod::System;
    }
    return depth;
}

} // namespace QV::Impl
