/// Collects small writes and hands them to the channel below in large ones.
///
/// `Flush` and `Close` hand on what is buffered, then flush or close the channel below. What is still
/// buffered when the channel is destroyed is lost. After a failure the buffered bytes stay buffered; how many
/// of them have arrived, only the channel below knows.
///
/// Threads: one at a time. Errors: those of the channel below; `IllegalArgumentException` for a size of 0,
/// `ClosedChannelException` after `Close`. Allocation: the buffer.
#pragma once

#include <QVRoot/Channel/FilterOBinaryChannel.hpp>

namespace QV {

class QV_EXPORT BufferedOBinaryChannel : public FilterOBinaryChannel {
public:
    explicit BufferedOBinaryChannel(BinaryChannelRef<OBinaryChannel> underlying, UInt32 bufferSize = 4096);
    ~BufferedOBinaryChannel() override;

    void Flush() override;
    /// Once only: a closed channel refuses it.
    void Close() override;

protected:
    void WriteBytes(const char* data, UInt32 n) override;

private:
    void RequireOpen() const;
    void HandOn();

    UInt32 bufferSize_;
    char* buffer_;
    bool closed_ = false;
};

} // namespace QV
