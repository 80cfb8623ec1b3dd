/// A stream of the system over a handle, which grows with what is written.
///
///     QVHandle const handle = BMAllocateHandle(0, 0, 0);
///     QVHandleStream* const stream = QVHandleStream::Create(handle, false);
///     Save(stream->GetSystemStream());
///     stream->Release();
///     Use(*handle, BMGetHandleSize(handle));
///
/// The handle may be resized by others between two calls: nothing is read behind its end. What a write or a
/// new size leaves unwritten is zero.
///
/// | member                    | on a read-only stream | without a block        |
/// |---------------------------|-----------------------|------------------------|
/// | `Read`, `CopyTo`          |                       | `False`                |
/// | `Write`                   | `NotImplemented`      | `False`                |
/// | `SetSize`                 | `NotImplemented`      | gives the handle one   |
///
/// Threads, errors, allocation: those of `ComStream`; the handle grows to exactly what it must hold, 2 GiB at
/// most, and `MediumFull` answers when it cannot. Then it is as before.
#pragma once

#include <QVRoot/Channel/ComStream.hpp>

namespace QV {

class QV_EXPORT QVHandleStream final : public ComStream {
public:
    /// Null for a null handle, and when there is no memory for the object.
    static QVHandleStream* Create(QVHandle handle, bool readOnly);

    QVHandle GetHandle() const noexcept;

    /// The bytes may lie in the handle.
    Com::Result Write(const void* buffer, UInt32 n, UInt32* written) override;
    /// Leaves the position as it is, even behind the new end.
    Com::Result SetSize(UInt64 newSize) override;
    /// Writes up to n bytes from the position on to another stream and answers what that answers.
    /// `InvalidPointer` for null and for this stream. The position stays.
    Com::Result CopyTo(Com::IStream* target, UInt64 n, UInt64* read, UInt64* written) override;

private:
    QVHandleStream(QVHandle handle, UInt32 size, bool readOnly) noexcept;
    ~QVHandleStream() override;

    const char* GetBytes(UInt32* size) const noexcept override;
    UInt32 GetHandleSize() const noexcept;
    bool IsEmpty() const noexcept { return *GetHandle() == nullptr; }
    bool Resize(UInt64 newSize, UInt32 zeroEnd) noexcept;
    bool Reserve(UInt64 end) noexcept;
};

} // namespace QV
