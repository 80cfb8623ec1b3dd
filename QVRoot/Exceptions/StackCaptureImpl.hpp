/// Capturing the stack and naming its addresses: the seam to the platforms.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// How a capture was made: by cached rules, or by the system's unwinder for stacks with unusual frames.
enum class CaptureMethod { Rules, System };

/// Writes the calling thread's return addresses, the innermost first, and returns their number. Entry 0 lies
/// in the caller when `skip` is 0. Does not allocate. `method`, where wanted, receives how it was done.
UInt32 CaptureStack(void** addresses, UInt32 capacity, UInt32 skip, CaptureMethod* method = nullptr) noexcept;

/// How functions are to be named. `Raw` leaves C++ names as the linker sees them, which needs no heap: for
/// reports about a damaged one.
enum class NameForm { Demangled, Raw };

/// Writes "function+0x12 (module) [file:line]" for a return address, cut to `size` bytes including the
/// terminator. What is not known is left out: "module+0x1234" without a function, "0x7f…" without a module.
void DescribeAddress(void* address, char* text, USize size, NameForm form = NameForm::Demangled) noexcept;

} // namespace QV::Impl
