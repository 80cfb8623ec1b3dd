/// An input channel over a caller's block of bytes that has positions and all other operations, so that what
/// a marking channel wrote can be read back: frames with a sub version, too.
///
///     PositionedMemIChannel in(out.GetData(), out.GetSize());
///
/// Threads: one at a time. Errors: those of `BufferedIChannel`. Allocation: the buffer; the block is not
/// owned.
#pragma once

#include <Host/BufferedIChannel.hpp>

namespace QV::Host {

class PositionedMemIChannel : public BufferedIChannel {
public:
    PositionedMemIChannel(const void* data, UInt64 size) noexcept;

private:
    QVErrCode ReadSource(char* dest, UInt32 n, UInt32* got) override;
    QVErrCode SkipSource(UInt64 n, UInt64* skipped) override;
    QVErrCode GetSourceAvailable(UInt64* n) const override;

    const char* data_;
    UInt64 rest_;
};

} // namespace QV::Host
