/// An input channel over a caller's block of bytes.
///
///     IMemChannel in(out.LockData(), static_cast<int>(out.DataSize()));
///     in.Read(value);
///
/// It has no `Look`, `PushBack`, `CopyBin`, direct access or position: they answer `ErrGeneral`, and `IsEOI`
/// is therefore always false. The end shows as `ErrEndOfInput` from a read.
///
/// Threads: one at a time. Errors: `ErrEndOfInput`, sticky, after the remaining bytes were delivered.
/// Allocation: none; the block is not owned.
#pragma once

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/MemProtocol.hpp>

namespace QV {

class QV_EXPORT IMemChannel : public IChannel {
public:
    /// A negative size counts as 0.
    IMemChannel(const void* data, int size);
    /// The copy reads the same block from the same position on its own.
    IMemChannel(const IMemChannel& other);
    IMemChannel& operator=(const IMemChannel& other);
    ~IMemChannel() override;

    using IChannel::GetAvailable;
    using IChannel::PushBack;

    QVErrCode ReadBin(char* dest, UInt32 n, UInt32* got) override;
    QVErrCode CopyBin(char* dest, UInt32 n, UInt32* got) override;
    QVErrCode Look(UInt32 index, char* c) override;
    QVErrCode PushBack(const char* bytes, UInt32 n) override;
    /// Always consumes the rest of the input, whatever n is, and stores the smaller of n and the rest.
    QVErrCode Skip(UInt64 n, UInt64* skipped) override;
    QVErrCode DirectInputAccess(UInt32 n, char** data, UInt32* available) override;
    QVErrCode GetInputPosition(UInt64* position) const override;
    QVErrCode GetAvailable(UInt64* n) const override;
    void SetDefaultInputProtocol() override;
    QVErrCode GetInputStatus() const override;
    void ResetInputStatus() override;

private:
    friend struct Impl::MemImage;

    /// Where the next byte comes from: an open window is ahead of `current_`.
    const char* GetCurrent() const noexcept
    {
        return GetWindowNext() != nullptr ? GetWindowNext() : current_;
    }
    void Settle() noexcept;

    IMemProtocol ownProtocol_;
    const char* begin_;
    const char* current_;
    const char* end_;
    Int32 status_ = NoError;
};

} // namespace QV
