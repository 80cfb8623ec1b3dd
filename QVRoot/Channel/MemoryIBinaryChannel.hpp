/// A binary input channel over a caller's block of bytes.
///
///     MemoryIBinaryChannel in(out.GetData(), out.GetSize());
///
/// Threads: one at a time. Errors: those of `IBinaryChannel`; `IllegalArgumentException` for a null block
/// with a size, `ClosedChannelException` after `Close`. Allocation: none; the block is not owned.
#pragma once

#include <QVRoot/Channel/IBinaryChannel.hpp>

namespace QV {

class QV_EXPORT MemoryIBinaryChannel : public IBinaryChannel {
public:
    MemoryIBinaryChannel(const void* data, UInt64 size);
    ~MemoryIBinaryChannel() override;

    /// The rest of the block; 0 after `Close`.
    UInt64 GetAvailable() override;
    bool IsEOI() override;
    void Close() override;

protected:
    UInt32 ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode) override;
    UInt64 SkipBytes(UInt64 n) override;

private:
    void RequireOpen() const;

    bool closed_ = false;
};

} // namespace QV
