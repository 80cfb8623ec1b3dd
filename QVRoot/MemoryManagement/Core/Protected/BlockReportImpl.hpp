/// The texts about blocks, written without allocating.
#pragma once

#include <QVRoot/MemoryManagement/Core/Protected/BlockTableImpl.hpp>

namespace QV::Impl {

/// Formats into a buffer, which always ends in 0; what does not fit is cut.
class TextWriter {
public:
    TextWriter(char* text, USize size) noexcept;

    void Write(const char* format, ...) noexcept QV_PRINTF_LIKE(2, 3);

private:
    char* end_;
    USize left_;
};

/// Which byte beside the block was overwritten, and with what.
void DescribeDamage(TextWriter& writer, const char* byte, const BlockRecord& record) noexcept;

/// Where the address lies in or at the block, what the block is, and its stacks; `stacks` may be null.
void DescribeBlock(TextWriter& writer, const void* address, const BlockRecord& record,
                   const BlockStacks* stacks) noexcept;

} // namespace QV::Impl
