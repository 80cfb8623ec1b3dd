/// An output channel into a growing block that it owns.
///
///     OMemChannel out;
///     out << UInt32{7} << "ab";
///     if (out.GetOutputStatus() == NoError) {
///         Send(out.LockData(), out.DataSize());
///     }
///
/// It supports no marks, direct access or positions: they answer `ErrGeneral`, and `GetOffset` answers 0.
///
/// Threads: one at a time. Errors: `ErrMemoryFull`, sticky. When the block cannot grow, what was written is
/// gone; after `ResetOutputStatus` the next write starts a fresh block. Allocation: a handle block, growing
/// in steps of 4096 bytes and by at least a quarter.
#pragma once

#include <QVRoot/Channel/MemProtocol.hpp>
#include <QVRoot/Channel/OChannel.hpp>

namespace QV {

class QV_EXPORT OMemChannel : public OChannel {
public:
    /// An empty channel with 4096 bytes allocated. Without memory it is as after a failed write and reset.
    OMemChannel();
    /// The copy owns a copy of the bytes; without memory for it its status is `ErrMemoryFull`.
    OMemChannel(const OMemChannel& other);
    OMemChannel& operator=(const OMemChannel& other);
    ~OMemChannel() override;

    QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override;
    QVErrCode DirectOutputAccess(UInt32 n, char** data, UInt32* available) override;
    QVErrCode GetOutputPosition(UInt64* position) const override;
    void SetDefaultOutputProtocol() override;
    QVErrCode PushMark() override;
    QVErrCode PopMark() override;
    UInt32 GetOffset() const override;
    void ResetOffset() override;
    QVErrCode GetOutputStatus() const override;
    void ResetOutputStatus() override;

    /// The number of bytes written; 0 when the status is not 0.
    UInt32 DataSize() const;

    /// The first byte written; null when the status is not 0. Valid until the next write.
    char* LockData();
    void UnlockData();

private:
    friend struct Impl::MemImage;

    /// Byte 0 of the block is reserved and zero; the data are in bytes 1 to count.
    struct Buffer {
        UInt32 count = 0;
        UInt32 capacity = 0;
        UInt32 step = 4096;
        UInt32 elementSize = 1;
        QVHandle handle = nullptr;
    };

    /// The bytes written: an open window is ahead of the buffer's count.
    UInt32 GetByteCount() const noexcept;
    void Settle() noexcept;
    QVErrCode StartBuffer();
    QVErrCode ReserveBytes(UInt32 n);
    void CopyBytesOf(const OMemChannel& other);
    void DropBuffer() noexcept;

    OMemProtocol ownProtocol_;
    Buffer buffer_;
    Int32 status_ = NoError;
};

} // namespace QV
