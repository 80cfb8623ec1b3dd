#include <QVRoot/Channel/BinaryBufferImpl.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedOBinarySubChannel.hpp>

#include <algorithm>
#include <utility>

namespace QV {

namespace {

/// A chunk of that length could not be told from the end.
UInt32 RequireReadable(UInt32 chunkSize)
{
    if (chunkSize == 0xFFFFFFFF) {
        QV_THROW(IllegalArgumentException, "the size of the chunks is too large");
    }
    return chunkSize;
}

} // namespace

ChunkedOBinarySubChannel::ChunkedOBinarySubChannel(BinaryChannelRef<OBinaryChannel> underlying,
                                                   const OProtocolX& protocol, UInt32 chunkSize)
    : OBinarySubChannel(std::move(underlying), protocol), chunkSize_(RequireReadable(chunkSize)),
      chunk_(Impl::AllocateBinaryBuffer(chunkSize))
{
    SetWindow(chunk_, chunk_ + chunkSize_);
}

ChunkedOBinarySubChannel::ChunkedOBinarySubChannel(const OChannelX& underlying, UInt32 chunkSize)
    : ChunkedOBinarySubChannel(underlying.GetChannelRef(), underlying.GetProtocol(), chunkSize)
{
}

ChunkedOBinarySubChannel::~ChunkedOBinarySubChannel()
{
    MemoryManager::Free(chunk_);
}

void ChunkedOBinarySubChannel::Flush()
{
    RequireOpen();
    EmitPending();
    GetUnderlying().Flush();
}

void ChunkedOBinarySubChannel::Close()
{
    EmitPending();
    GetProtocol().Write(GetUnderlying(), UInt32{0});
    SetWindow(chunk_, chunk_);
    SetClosed();
}

void ChunkedOBinarySubChannel::WriteBytes(const char* data, UInt32 n)
{
    RequireOpen();
    while (n != 0) {
        if (GetRoom() == 0) {
            EmitPending();
        }
        const UInt32 piece = static_cast<UInt32>(std::min<USize>(n, GetRoom()));
        if (piece == chunkSize_ && piece < n) {
            EmitChunk(data, piece); // full, and more is coming: it need not pass through the buffer
        } else {
            Append(data, piece);
        }
        data += piece;
        n -= piece;
    }
}

void ChunkedOBinarySubChannel::EmitChunk(const char* data, UInt32 n)
{
    GetProtocol().Write(GetUnderlying(), n);
    GetUnderlying().Write(data, n);
}

void ChunkedOBinarySubChannel::EmitPending()
{
    const UInt32 used = static_cast<UInt32>(GetWindowPosition() - chunk_);
    if (used != 0) {
        EmitChunk(chunk_, used);
        SetWindow(chunk_, chunk_ + chunkSize_);
    }
}

} // namespace QV
