/// A binary output channel into a growing block that it owns.
///
///     MemoryOBinaryChannel out;
///     out.Write(bytes, n);
///     Send(out.GetData(), out.GetSize());
///
/// Threads: one at a time. Errors: those of `OBinaryChannel`; `MemoryOBinaryChannelBufferFullException` for a
/// write beyond the limit and `OutOfMemoryException`, of which nothing has been written then;
/// `ClosedChannelException` after `Close`. Allocation: one block, growing by doubling.
#pragma once

#include <QVRoot/Channel/OBinaryChannel.hpp>

namespace QV {

class QV_EXPORT MemoryOBinaryChannel : public OBinaryChannel {
public:
    static constexpr UInt64 NoLimit = ~UInt64{0};

    /// Takes no more than `limit` bytes.
    explicit MemoryOBinaryChannel(UInt64 limit = NoLimit) noexcept;
    ~MemoryOBinaryChannel() override;

    /// There is nothing below to flush to.
    void Flush() override;
    /// Refuses further writes; the bytes stay.
    void Close() override;

    UInt64 GetSize() const noexcept { return static_cast<UInt64>(GetWindowPosition() - block_); }
    /// The first byte written, null when nothing ever was. Valid until the next write.
    const char* GetData() const noexcept { return block_; }
    char* GetData() noexcept { return block_; }
    /// Room for `room` more bytes in place, at least n; what is put there, `Commit` makes written. It ends
    /// with the next operation. Errors: those of a write.
    char* Reserve(UInt32 n, USize& room);
    /// For no more bytes than `Reserve` has given.
    void Commit(USize n) noexcept { SetWindow(GetWindowPosition() + n, GetWindowPosition() + GetRoom()); }

    /// Forgets the bytes and keeps the block for the next ones. A closed channel stays closed.
    void Clear() noexcept;

protected:
    void WriteBytes(const char* data, UInt32 n) override;

private:
    void RequireRoom(UInt32 n);
    void Grow(UInt64 needed);

    UInt64 limit_;
    UInt64 capacity_ = 0;
    char* block_ = nullptr;
    bool closed_ = false;
};

} // namespace QV
