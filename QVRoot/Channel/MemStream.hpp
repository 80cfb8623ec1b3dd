/// A stream of the system over a caller's bytes.
///
///     MemStream* const stream = MemStream::Create(bytes, size);
///     Load(stream->GetSystemStream());
///     stream->Release();
///
/// | member              | answers                                                                         |
/// |---------------------|---------------------------------------------------------------------------------|
/// | `Write`             | `NotImplemented`; on the empty stream, which never grows, `MediumFull`          |
/// | `SetSize`, `CopyTo` | `NotImplemented`                                                                |
///
/// Threads, errors, allocation: those of `ComStream`.
#pragma once

#include <QVRoot/Channel/ComStream.hpp>

namespace QV {

class QV_EXPORT MemStream final : public ComStream {
public:
    /// A stream to read the bytes from. Null when there is no memory for it.
    static MemStream* Create(const unsigned char* data, UInt32 size);
    /// An empty stream that may be written to, though no byte has room: bytes meant for a growing stream go
    /// to a `QVHandleStream`.
    static MemStream* Create();

    const void* GetData() const noexcept { return data_; }
    UInt32 GetSize() const noexcept { return size_; }

    /// An empty write behind the end is refused as well.
    Com::Result Write(const void* buffer, UInt32 n, UInt32* written) override;
    Com::Result SetSize(UInt64 newSize) override;
    Com::Result CopyTo(Com::IStream* target, UInt64 n, UInt64* read, UInt64* written) override;

private:
    using ComStream::ComStream;
    ~MemStream() override;

    const char* GetBytes(UInt32* size) const noexcept override;
};

} // namespace QV
