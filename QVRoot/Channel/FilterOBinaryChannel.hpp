/// The base of binary output channels that lie above another one.
///
/// It forwards every operation; a filter overrides those that it changes. Filters may be stacked
/// `MaxNesting` deep, so that input that asks for ever more of them ends in an error and not in a stack
/// overflow.
///
/// Threads: one at a time. Errors: those of the channel below; the constructor throws
/// `PreconditionException` without a channel below and `LimitViolationException` above too many.
#pragma once

#include <QVRoot/Channel/OBinaryChannel.hpp>

namespace QV {

class QV_EXPORT FilterOBinaryChannel : public OBinaryChannel {
public:
    static constexpr UInt32 MaxNesting = 1024;

    ~FilterOBinaryChannel() override;

    void Flush() override;
    void Close() override;

protected:
    explicit FilterOBinaryChannel(BinaryChannelRef<OBinaryChannel> underlying);

    OBinaryChannel& GetUnderlying() const noexcept { return *underlying_; }

    void WriteBytes(const char* data, UInt32 n) override;

private:
    BinaryChannelRef<OBinaryChannel> underlying_;
};

} // namespace QV
