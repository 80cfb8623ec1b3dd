/// The programs inside unwind tables: how a function's frame looks between two of its instructions.
#pragma once

#include <QVRoot/Exceptions/CfiReaderImpl.hpp>
#include <QVRoot/Exceptions/FrameRuleImpl.hpp>

namespace QV::Impl {

/// What the common part of an entry (CIE) says about the functions that share it.
struct CfiCommon {
    UInt64 codeAlignment = 1;
    Int64 dataAlignment = 1;
    UInt8 pointerEncoding = 0;
    bool hasAugmentation = false;
    CfiReader program = {0, 0};
};

/// Runs the common program and the function's own up to the instruction at `address`. False when the result
/// does not fit a `FrameRule`.
bool RunCfiProgram(const CfiCommon& common, CfiReader program, UInt64 functionBegin, UInt64 address,
                   FrameRule& rule) noexcept;

} // namespace QV::Impl
