#include <Host/LogFileChannel.hpp>

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <cstring>

namespace QV::Host {

namespace {

constexpr UInt32 bufferSize = 65536;

} // namespace

LogFileChannel::~LogFileChannel()
{
    Close();
    MemoryManager::Free(buffer_);
}

QVErrCode LogFileChannel::Open(const UniString& path)
{
    if (buffer_ == nullptr) {
        buffer_ = static_cast<char*>(
            MemoryManager::Allocate(bufferSize, MemoryManager::ReturnNullOnFailure, false));
        if (buffer_ == nullptr) {
            return ErrMemoryFull;
        }
    }
    Impl::File fresh;
    systemError_ = fresh.CreateShared(path);
    if (systemError_ != 0) {
        return Impl::CodeForOpening(systemError_);
    }
    if (const QVErrCode error = Close()) {
        fresh.Close();
        Impl::RemoveFile(path);
        return error;
    }
    file_.Swap(fresh);
    owner_ = Impl::GetProcessNumber();
    fileLength_ = 0;
    bufferLength_ = 0;
    status_ = NoError;
    return NoError;
}

/// Fails only if what is buffered cannot be written; the file is open then as before.
QVErrCode LogFileChannel::Close() noexcept
{
    if (!IsOpen()) {
        return NoError;
    }
    if (const QVErrCode error = Flush()) {
        return error;
    }
    file_.Close();
    return NoError;
}

QVErrCode LogFileChannel::WriteBin(const char* src, UInt32 n, UInt32* written)
{
    *written = 0;
    if (status_ != NoError) {
        return status_;
    }
    if (n > bufferSize - bufferLength_) [[unlikely]] {
        if (const QVErrCode error = WriteOut()) {
            return error;
        }
        if (n > bufferSize) {
            const QVErrCode error = WriteLarge(src, n);
            *written = error == NoError ? n : 0;
            return error;
        }
    }
    if (bufferLength_ == 0) {
        hasUnflushed_.store(true, std::memory_order_relaxed);
    }
    std::memcpy(buffer_ + bufferLength_, src, n);
    bufferLength_ += n;
    *written = n;
    return NoError;
}

QVErrCode LogFileChannel::DirectOutputAccess(UInt32, char**, UInt32*)
{
    return ErrGeneral;
}

QVErrCode LogFileChannel::GetOutputPosition(UInt64* position) const
{
    *position = GetSize();
    return NoError;
}

QVErrCode LogFileChannel::Flush()
{
    return WriteOut();
}

void LogFileChannel::ResetOutputStatus()
{
    if (status_ != NoError) {
        bufferLength_ = 0;
        status_ = NoError;
        hasUnflushed_.store(false, std::memory_order_relaxed);
    }
}

QVErrCode LogFileChannel::WriteOut() noexcept
{
    if (bufferLength_ != 0) {
        if (const QVErrCode error = Append(buffer_, bufferLength_)) {
            return error;
        }
        bufferLength_ = 0;
    }
    hasUnflushed_.store(false, std::memory_order_relaxed);
    status_ = NoError;
    return NoError;
}

QVErrCode LogFileChannel::WriteLarge(const char* src, UInt32 n) noexcept
{
    const QVErrCode error = Append(src, n);
    if (error != NoError) {
        // A part of a record would hide what is written in its place later.
        file_.Truncate(fileLength_);
    }
    return error;
}

QVErrCode LogFileChannel::Append(const char* src, UInt32 n) noexcept
{
    if (!IsOpen()) {
        return status_ = ErrNotOpen;
    }
    if (owner_ != Impl::GetProcessNumber()) {
        return status_ = ErrWrite;
    }
    UInt32 written = 0;
    systemError_ = file_.WriteAt(fileLength_, src, n, &written);
    if (systemError_ != 0) {
        return status_ = Impl::CodeForWriting(systemError_);
    }
    fileLength_ += n;
    return NoError;
}

} // namespace QV::Host
