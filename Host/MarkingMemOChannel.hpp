/// An output channel into a growing block of memory that has marks and positions, so that frames with a sub
/// version carry their length.
///
///     MarkingMemOChannel out;
///     out << document;
///     if (out.GetOutputStatus() == NoError) {
///         Send(out.GetData(), out.GetSize());
///     }
///
/// Threads: one at a time. Errors: those of `MarkingOChannel`; `ErrMemoryFull` when the block cannot grow:
/// the bytes that were refused are missing, the others stay. Allocation: one block, at least doubled.
#pragma once

#include <Host/MarkingOChannel.hpp>

namespace QV::Host {

class MarkingMemOChannel : public MarkingOChannel {
public:
    MarkingMemOChannel() noexcept = default;
    ~MarkingMemOChannel() override;

    QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override;
    /// The window counts as written and must be filled before the next operation.
    QVErrCode DirectOutputAccess(UInt32 n, char** data, UInt32* available) override;

    /// The bytes, valid until the next operation.
    const char* GetData() const noexcept { return block_; }
    UInt64 GetSize() const noexcept { return GetEnd(); }
    /// Starts over and keeps the block.
    void Clear() noexcept { Restart(); }

private:
    QVErrCode Reserve(UInt32 n);

    char* block_ = nullptr;
    UInt64 capacity_ = 0;
};

} // namespace QV::Host
