/// An output channel that replaces a file, or makes one, in a single step.
///
///     OFileChannel out;
///     if (out.Open(path) == NoError) {
///         out << document;
///         if (const QVErrCode error = out.Commit()) …
///     }
///
/// The bytes go to a new file beside the target. `Commit` puts it in the target's place; until then, and when
/// the channel is destroyed without it, the target stays as it was.
///
/// Threads: one at a time. Errors: those of `MarkingOChannel`; `ErrOutputFull` for a full disk, `ErrWrite`
/// for any other failure. Bytes are buffered, so a failure may show at a later write, at `Flush` or at
/// `Commit`. Those that were accepted stay buffered: once there is room again, `ResetOutputStatus` and
/// `Commit` go on. Allocation: a buffer of 64 KiB.
#pragma once

#include <Host/FileImpl.hpp>
#include <Host/HostErrors.hpp>
#include <Host/MarkingOChannel.hpp>

namespace QV::Host {

class OFileChannel : public MarkingOChannel {
public:
    OFileChannel() noexcept : file_(ownFile_) {}
    /// Writes through a file of the caller's, which must live on.
    explicit OFileChannel(Impl::File& file) noexcept : file_(file) {}
    /// Discards what was not committed.
    ~OFileChannel() override;

    /// Begins a new content for the file. A symbolic link stands for the file that it names; a folder, a
    /// device and a write-protected file are refused. What was not committed before is discarded.
    /// `ErrFileNotFound` for a folder that is not there, `ErrFileAccess` or `ErrFileOpen`.
    QVErrCode Open(const UniString& path);
    /// Ends the content: writes it out, onto the disk, and replaces the file. In the error state, and when
    /// the content cannot be written out, the channel stays open. When the disk does not take what the system
    /// had accepted, or when the replacing fails, the content is discarded: no second try could tell whether
    /// everything is there.
    QVErrCode Commit();
    void Discard() noexcept;
    bool IsOpen() const noexcept { return file_.IsOpen(); }

    /// The system's words for the last failure; empty when there was none.
    const UniString& GetErrorText() const noexcept { return errorText_; }

    QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override;
    /// The window counts as written and must be filled before the next operation.
    QVErrCode DirectOutputAccess(UInt32 n, char** data, UInt32* available) override;
    /// Hands everything to the system.
    QVErrCode Flush() override;

private:
    QVErrCode CreateTemporary();
    QVErrCode ReachPosition();
    QVErrCode WriteOut();
    QVErrCode WritePast(const char* src, UInt32 n, UInt32* written);
    QVErrCode NoteWriting(Impl::SystemError error);

    Impl::File ownFile_;
    Impl::File& file_;
    UniString target_;
    UniString temporary_; ///< empty: there is none
    UniString errorText_;
    char* buffer_ = nullptr;
    UInt64 bufferStart_ = 0; ///< where the buffer's first byte belongs
    UInt32 bufferLength_ = 0;
};

} // namespace QV::Host
