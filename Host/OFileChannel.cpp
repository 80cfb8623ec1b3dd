#include <Host/OFileChannel.hpp>

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace QV::Host {

namespace {

constexpr UInt32 bufferSize = 65536;

/// The temporary file's name: it must lie beside the target, since only then one can replace the other in one
/// step.
UniString MakeTemporaryName(const UniString& target, UInt32 attempt)
{
    char suffix[40];
    std::snprintf(suffix, sizeof(suffix), ".%08X-%u.tmp", Impl::GetProcessNumber(), attempt);
    UniString name = target;
    name.Append(suffix, UTF8CharCode);
    return name;
}

} // namespace

OFileChannel::~OFileChannel()
{
    Discard();
    MemoryManager::Free(buffer_);
}

QVErrCode OFileChannel::Open(const UniString& path)
{
    Discard();
    errorText_.Clear();
    if (buffer_ == nullptr) {
        buffer_ = static_cast<char*>(
            MemoryManager::Allocate(bufferSize, MemoryManager::ReturnNullOnFailure, false));
        if (buffer_ == nullptr) {
            return ErrMemoryFull;
        }
    }
    bufferStart_ = 0;
    bufferLength_ = 0;
    const Impl::SystemError error = Impl::ResolveTarget(path, &target_);
    if (error != 0) {
        errorText_ = Impl::DescribeError(error);
        return Impl::CodeForOpening(error);
    }
    return CreateTemporary();
}

QVErrCode OFileChannel::CreateTemporary()
{
    constexpr UInt32 mostAttempts = 1000; // files left behind by other processes are stepped over
    Impl::SystemError error = 0;
    for (UInt32 attempt = 0; attempt < mostAttempts; ++attempt) {
        temporary_ = MakeTemporaryName(target_, attempt);
        error = file_.CreateNew(temporary_, target_);
        if (error == 0 || !Impl::MeansExists(error)) {
            break;
        }
    }
    if (error != 0) {
        temporary_.Clear();
        errorText_ = Impl::DescribeError(error);
    }
    return Impl::CodeForOpening(error);
}

QVErrCode OFileChannel::Commit()
{
    if (!IsOpen()) {
        return ErrNotOpen;
    }
    if (const QVErrCode error = Flush()) {
        return error;
    }
    QVErrCode error = NoteWriting(file_.Synchronize());
    if (error == NoError) {
        error = NoteWriting(file_.Close());
    }
    if (error == NoError) {
        error = NoteWriting(Impl::RenameOver(temporary_, target_));
    }
    if (error == NoError) {
        temporary_.Clear(); // there is none any more
    }
    Discard();
    return error;
}

void OFileChannel::Discard() noexcept
{
    file_.Close();
    if (!temporary_.IsEmpty()) {
        try {
            Impl::RemoveFile(temporary_);
        } catch (...) {
            // No memory for the name: the file stays, but the target is untouched.
        }
        temporary_.Clear();
    }
    Restart();
}

QVErrCode OFileChannel::WriteBin(const char* src, UInt32 n, UInt32* written)
{
    if (GetOutputStatus() != NoError) {
        return GetOutputStatus();
    }
    UInt32 total = 0;
    QVErrCode error = ReachPosition();
    while (error == NoError && total < n) {
        const UInt32 cursor = static_cast<UInt32>(GetPosition() - bufferStart_);
        UInt32 count = std::min(n - total, bufferSize - cursor);
        if (cursor == 0 && bufferLength_ == 0 && count == bufferSize) {
            error = WritePast(src + total, n - total, &count);
        } else if (count != 0) {
            std::memcpy(buffer_ + cursor, src + total, count);
            Advance(count);
            bufferLength_ = std::max(bufferLength_, cursor + count);
        } else {
            error = WriteOut();
        }
        total += count;
    }
    if (written != nullptr) {
        *written = total;
    }
    return error;
}

QVErrCode OFileChannel::DirectOutputAccess(UInt32 n, char** data, UInt32* available)
{
    if (GetOutputStatus() != NoError) {
        return GetOutputStatus();
    }
    *available = 0;
    QVErrCode error = ReachPosition();
    if (error == NoError && GetPosition() - bufferStart_ == bufferSize) {
        error = WriteOut();
    }
    if (error == NoError) {
        const UInt32 cursor = static_cast<UInt32>(GetPosition() - bufferStart_);
        *available = std::min(n, bufferSize - cursor);
        *data = buffer_ + cursor;
        Advance(*available);
        bufferLength_ = std::max(bufferLength_, cursor + *available);
    }
    return error;
}

QVErrCode OFileChannel::Flush()
{
    if (GetOutputStatus() != NoError) {
        return GetOutputStatus();
    }
    return IsOpen() ? WriteOut() : Keep(ErrNotOpen);
}

/// A mark may lead out of the buffer: then the buffer begins anew at the position.
QVErrCode OFileChannel::ReachPosition()
{
    if (!IsOpen()) {
        return Keep(ErrNotOpen);
    }
    if (GetPosition() < bufferStart_ || GetPosition() > bufferStart_ + bufferLength_) {
        return WriteOut();
    }
    return NoError;
}

/// Empties the buffer and lets it begin at the position. After a failure it is as it was, so that the same
/// bytes can be written again.
QVErrCode OFileChannel::WriteOut()
{
    UInt32 written = 0;
    const QVErrCode error = NoteWriting(file_.WriteAt(bufferStart_, buffer_, bufferLength_, &written));
    if (error == NoError) {
        bufferStart_ = GetPosition();
        bufferLength_ = 0;
    }
    return error;
}

/// Writes large pieces without the detour through the empty buffer.
QVErrCode OFileChannel::WritePast(const char* src, UInt32 n, UInt32* written)
{
    const QVErrCode error = NoteWriting(file_.WriteAt(bufferStart_, src, n, written));
    Advance(*written);
    bufferStart_ += *written;
    return error;
}

QVErrCode OFileChannel::NoteWriting(Impl::SystemError error)
{
    if (error != 0) {
        errorText_ = Impl::DescribeError(error);
    }
    return Keep(Impl::CodeForWriting(error));
}

} // namespace QV::Host
