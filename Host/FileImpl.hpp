/// One open file of the operating system. `FilePosix.cpp` and `FileWin.cpp` implement it.
///
/// Names are UTF-16; on Linux they become UTF-8. Descriptors are not inherited by child processes. What moves
/// bytes is virtual, so that a test can let it fail where it likes.
#pragma once

#include <QVRoot/String/UniString.hpp>

namespace QV::Host::Impl {

/// The system's own error number, 0 for success.
using SystemError = Int32;

class File {
public:
    File() noexcept = default;
    virtual ~File() { File::Close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool IsOpen() const noexcept { return handle_ != closed; }
    void Swap(File& other) noexcept
    {
        const Int64 handle = handle_;
        handle_ = other.handle_;
        other.handle_ = handle;
    }

    /// Opens an existing file that is not a folder.
    SystemError OpenForReading(const UniString& path);
    /// Makes a file that does not exist yet. Where `model` names a file, its permissions are taken over.
    SystemError CreateNew(const UniString& path, const UniString& model);
    /// The same for a file that others may read, rename and remove while it is written.
    SystemError CreateShared(const UniString& path);
    /// Opens a file for this object alone, and makes it if need be: whoever else asks gets an error that
    /// `MeansInUse`, until it is closed or the process ends in whatever way.
    SystemError OpenAlone(const UniString& path);
    virtual SystemError Close() noexcept;

    /// Reads on from where the last read ended. Success with 0 bytes is the end of the file.
    virtual SystemError Read(char* dest, UInt32 n, UInt32* got) noexcept;
    /// Moves the place where the next read begins.
    SystemError SeekBy(Int64 distance) noexcept;
    /// Bytes between that place and the end; an error for a file that has no length, such as a pipe.
    SystemError GetRest(UInt64* n) const noexcept;
    /// Writes all bytes at the given place; on failure `written` tells how many got there.
    virtual SystemError WriteAt(UInt64 offset, const char* src, UInt32 n, UInt32* written) noexcept;
    /// Cuts off what is behind.
    SystemError Truncate(UInt64 length) noexcept;
    /// Forces what was written onto the disk.
    virtual SystemError Synchronize() noexcept;

private:
    static constexpr Int64 closed = -1;

    Int64 handle_ = closed;
};

/// Puts a file in the place of another in one step: whoever opens the target sees the old or the new one.
SystemError RenameOver(const UniString& from, const UniString& target);
/// The same without waiting for the disk.
SystemError RenameQuickly(const UniString& from, const UniString& target);
SystemError RemoveFile(const UniString& path);
/// Whether anything has the name.
bool Exists(const UniString& path);
/// Makes a folder and those above it as far as they are missing, for this user alone.
SystemError MakeFolders(const UniString& path);

/// Where a program keeps what it writes while it runs, such as logs; empty where the system tells none.
UniString GetStateFolder(const UniString& program);
/// One path behind the other.
UniString JoinPath(const UniString& folder, const UniString& name);

/// What a name that is to be replaced stands for: through symbolic links, where the system has them.
/// Something that exists and is no regular file answers an error, and so does a file that is write-protected,
/// though its folder would let it be replaced.
SystemError ResolveTarget(const UniString& path, UniString* target);

/// A number that no other process has at the same time.
UInt32 GetProcessNumber() noexcept;

bool MeansNotFound(SystemError error) noexcept;
bool MeansAccessDenied(SystemError error) noexcept;
bool MeansExists(SystemError error) noexcept;
bool MeansInUse(SystemError error) noexcept;
bool MeansDiskFull(SystemError error) noexcept;

/// The system's text for an error.
UniString DescribeError(SystemError error);

/// The code for a file that could not be opened.
QVErrCode CodeForOpening(SystemError error) noexcept;
/// The code for bytes that could not be written.
QVErrCode CodeForWriting(SystemError error) noexcept;

} // namespace QV::Host::Impl
