/// An input channel over a file.
///
///     IFileChannel in;
///     if (const QVErrCode error = in.Open(path)) {
///         Report(path, error, in.GetErrorText());
///     }
///     in.Read(count);
///
/// Threads: one at a time. Errors: those of `BufferedIChannel`; `ErrRead` when the system cannot read.
/// Allocation: the buffer.
#pragma once

#include <Host/BufferedIChannel.hpp>
#include <Host/FileImpl.hpp>
#include <Host/HostErrors.hpp>

namespace QV::Host {

class IFileChannel : public BufferedIChannel {
public:
    IFileChannel() noexcept : file_(ownFile_) {}
    /// Reads through a file of the caller's, which must live on.
    explicit IFileChannel(Impl::File& file) noexcept : file_(file) {}

    /// Opens a file at its first byte, and closes the one that was open. `ErrFileNotFound`, `ErrFileAccess`
    /// or `ErrFileOpen`.
    QVErrCode Open(const UniString& path);
    void Close() noexcept;
    bool IsOpen() const noexcept { return file_.IsOpen(); }

    /// The system's words for the last failure; empty when there was none.
    const UniString& GetErrorText() const noexcept { return errorText_; }

private:
    QVErrCode ReadSource(char* dest, UInt32 n, UInt32* got) override;
    QVErrCode SkipSource(UInt64 n, UInt64* skipped) override;
    QVErrCode GetSourceAvailable(UInt64* n) const override;

    Impl::File ownFile_;
    Impl::File& file_;
    UniString errorText_;
};

} // namespace QV::Host
