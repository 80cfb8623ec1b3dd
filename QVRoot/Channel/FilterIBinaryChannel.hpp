/// The base of binary input channels that lie above another one.
///
/// It forwards every operation; a filter overrides those that it changes. Filters may be stacked
/// `MaxNesting` deep, so that input that asks for ever more of them ends in an error and not in a stack
/// overflow.
///
/// Threads: one at a time. Errors: those of the channel below; the constructor throws
/// `PreconditionException` without a channel below and `LimitViolationException` above too many.
#pragma once

#include <QVRoot/Channel/IBinaryChannel.hpp>

namespace QV {

class QV_EXPORT FilterIBinaryChannel : public IBinaryChannel {
public:
    static constexpr UInt32 MaxNesting = 1024;

    ~FilterIBinaryChannel() override;

    UInt64 GetAvailable() override;
    bool IsEOI() override;
    void Close() override;

protected:
    explicit FilterIBinaryChannel(BinaryChannelRef<IBinaryChannel> underlying);

    IBinaryChannel& GetUnderlying() const noexcept { return *underlying_; }

    UInt32 ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode) override;
    UInt64 SkipBytes(UInt64 n) override;

private:
    BinaryChannelRef<IBinaryChannel> underlying_;
};

} // namespace QV
