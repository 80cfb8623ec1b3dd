/// Delivers another channel's bytes a few at a time, and ends or fails after a given number of them.
///
/// Positions are its own count of bytes. It has no look-ahead.
#pragma once

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/MemProtocol.hpp>

#include <algorithm>

namespace QV::Test {

class DribblingIChannel : public IChannel {
public:
    static constexpr UInt64 NoLimit = ~UInt64{0};

    DribblingIChannel(IChannel& below, UInt32 most, UInt64 limit = NoLimit, QVErrCode code = ErrEndOfInput)
        : IChannel(ownProtocol_), below_(below), most_(most), limit_(limit), code_(code)
    {
    }

    using IChannel::GetAvailable;
    using IChannel::PushBack;

    QVErrCode ReadBin(char* dest, UInt32 n, UInt32* got) override
    {
        if (status_ != NoError) {
            return status_;
        }
        const UInt32 count = static_cast<UInt32>(std::min<UInt64>({n, most_, limit_ - position_}));
        UInt32 delivered = 0;
        if (count == 0 && n != 0) {
            status_ = code_;
        } else {
            status_ = below_.ReadBin(dest, count, &delivered);
        }
        position_ += delivered;
        if (got != nullptr) {
            *got = delivered;
        }
        return status_;
    }
    QVErrCode Skip(UInt64 n, UInt64* skipped) override
    {
        UInt64 passed = 0;
        QVErrCode error = status_;
        while (error == NoError && passed < n) {
            char c;
            UInt32 got = 0;
            error = ReadBin(&c, 1, &got);
            passed += got;
        }
        if (skipped != nullptr) {
            *skipped = passed;
        }
        return error;
    }
    QVErrCode GetInputPosition(UInt64* position) const override
    {
        *position = position_;
        return NoError;
    }
    QVErrCode CopyBin(char*, UInt32, UInt32*) override { return ErrGeneral; }
    QVErrCode Look(UInt32, char*) override { return ErrGeneral; }
    QVErrCode PushBack(const char*, UInt32) override { return ErrGeneral; }
    QVErrCode DirectInputAccess(UInt32, char**, UInt32*) override { return ErrGeneral; }
    void SetDefaultInputProtocol() override { SetInputProtocol(ownProtocol_); }
    QVErrCode GetInputStatus() const override { return status_; }
    void ResetInputStatus() override { status_ = NoError; }

    /// Lets the rest through, as if the fault had been repaired.
    void Repair()
    {
        limit_ = NoLimit;
        ResetInputStatus();
    }

private:
    IMemProtocol ownProtocol_;
    IChannel& below_;
    UInt32 most_;
    UInt64 limit_;
    QVErrCode code_;
    UInt64 position_ = 0;
    QVErrCode status_ = NoError;
};

} // namespace QV::Test
