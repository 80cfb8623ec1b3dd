/// A binary output channel over an `OChannel`: sections can be written to whatever channel carries them.
///
///     OBinaryChannelAdapter bytes(channel);
///     ChunkedOBinarySubChannel section(bytes, platformOProtocolX, 4096);
///
/// Threads: one at a time. Errors: codes throw `WriteErrorException` with the code as the cause's, or the
/// exception that has the code; `ClosedChannelException` after `Close`. Allocation: none.
#pragma once

#include <QVRoot/Channel/OBinaryChannel.hpp>

namespace QV {

class OChannel;

class QV_EXPORT OBinaryChannelAdapter : public OBinaryChannel {
public:
    /// The channel must outlive the adapter.
    explicit OBinaryChannelAdapter(OChannel& channel) noexcept;
    ~OBinaryChannelAdapter() override;

    void Flush() override;
    /// Ends the use of the adapter. The channel stays as it is.
    void Close() override;

protected:
    void WriteBytes(const char* data, UInt32 n) override;

private:
    void RequireOpen() const;

    OChannel& channel_;
    bool closed_ = false;
};

} // namespace QV
