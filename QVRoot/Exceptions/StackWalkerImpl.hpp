/// Walking the calling thread's stack by cached frame rules.
///
/// The rule of a return address is worked out from the unwind tables once and kept for all threads; from then
/// on a frame costs some nanoseconds. The systems' own unwinders restore every register and search the tables
/// for every frame of every walk.
///
/// Code can be unloaded and other code can be loaded in its place. Rules of modules that live as long as this
/// library are cached by address alone, those of all others also by the identity of their module. Should that
/// fail to tell two modules apart, the walk still reads nothing but readable words of the stack: the result
/// may then be wrong or short, but nothing faults.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

struct StackRegisters {
    UInt64 pc; ///< behind the instruction in question, as return addresses are
    UInt64 sp;
    UInt64 fp;
};

/// Writes the return addresses above the frame whose registers are given, which must be the caller's or one
/// further out, and sets their number. False when a frame has a form that no rule expresses: the caller then
/// asks the system. Neither allocates nor, once the rules are known, locks.
bool WalkStack(StackRegisters registers, void** addresses, UInt32 capacity, UInt32 skip,
               UInt32& depth) noexcept;

} // namespace QV::Impl
