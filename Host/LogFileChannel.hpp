/// The channel of a log file: it appends whole records to a file of its own and remembers how much the
/// system has got.
///
/// A write is taken as a whole or refused; marks, positions to go back to, and direct access there are none.
///
/// Threads: one at a time, which the logger sees to; `HasUnflushed` any. Errors: `ErrOutputFull` for a full
/// disk, `ErrWrite` for any other failure, sticky. What was taken stays buffered: `Flush` tries again, and
/// its success ends the error. Allocation: a buffer of 64 KiB.
#pragma once

#include <Host/FileImpl.hpp>
#include <Host/HostErrors.hpp>
#include <QVRoot/Channel/MemProtocol.hpp>
#include <QVRoot/Channel/OChannel.hpp>

#include <atomic>

namespace QV::Host {

class LogFileChannel final : public OChannel {
public:
    LogFileChannel() noexcept : OChannel(ownProtocol_) {}
    ~LogFileChannel() override;

    /// Begins a new file, which must not exist yet. The one before is completed and closed if there was one;
    /// when the new one cannot be made, it stays in use.
    QVErrCode Open(const UniString& path);
    /// Completes and closes the file.
    QVErrCode Close() noexcept;
    bool IsOpen() const noexcept { return file_.IsOpen(); }

    /// Bytes that were taken for this file.
    UInt64 GetSize() const noexcept { return fileLength_ + bufferLength_; }
    /// Whether `Flush` has anything to do.
    bool HasUnflushed() const noexcept { return hasUnflushed_.load(std::memory_order_relaxed); }
    Impl::SystemError GetSystemError() const noexcept { return systemError_; }

    QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override;
    QVErrCode DirectOutputAccess(UInt32 n, char** data, UInt32* available) override;
    QVErrCode GetOutputPosition(UInt64* position) const override;
    QVErrCode Flush() override;
    void SetDefaultOutputProtocol() override { SetOutputProtocol(ownProtocol_); }
    QVErrCode PushMark() override { return ErrGeneral; }
    QVErrCode PopMark() override { return ErrGeneral; }
    UInt32 GetOffset() const override { return 0; }
    void ResetOffset() override {}
    QVErrCode GetOutputStatus() const override { return status_; }
    /// Drops what could not be written.
    void ResetOutputStatus() override;

private:
    QVErrCode WriteOut() noexcept;
    QVErrCode WriteLarge(const char* src, UInt32 n) noexcept;
    QVErrCode Append(const char* src, UInt32 n) noexcept;

    OMemProtocol ownProtocol_;
    Impl::File file_;
    UInt32 owner_ = 0; ///< the process that opened the file: not one that was forked off
    char* buffer_ = nullptr;
    UInt32 bufferLength_ = 0;
    UInt64 fileLength_ = 0; ///< what the system has got
    QVErrCode status_ = NoError;
    Impl::SystemError systemError_ = 0;
    std::atomic<bool> hasUnflushed_ = false;
};

} // namespace QV::Host
