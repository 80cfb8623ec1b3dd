/// Passes bytes on to another channel a few at a time, and fails after a given number of them.
///
/// Marks and positions are the other channel's.
#pragma once

#include <QVRoot/Channel/MemProtocol.hpp>
#include <QVRoot/Channel/OChannel.hpp>

#include <algorithm>

namespace QV::Test {

class DribblingOChannel : public OChannel {
public:
    static constexpr UInt64 NoLimit = ~UInt64{0};

    DribblingOChannel(OChannel& below, UInt32 most, UInt64 limit = NoLimit, QVErrCode code = ErrOutputFull)
        : OChannel(ownProtocol_), below_(below), most_(most), left_(limit), code_(code)
    {
    }

    QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) override
    {
        if (status_ != NoError) {
            return status_;
        }
        const UInt32 count = static_cast<UInt32>(std::min<UInt64>({n, most_, left_}));
        UInt32 passed = 0;
        if (count == 0 && n != 0) {
            status_ = code_;
        } else {
            status_ = below_.WriteBin(src, count, &passed);
        }
        left_ -= passed;
        if (written != nullptr) {
            *written = passed;
        }
        return status_;
    }
    QVErrCode DirectOutputAccess(UInt32, char**, UInt32*) override { return ErrGeneral; }
    QVErrCode GetOutputPosition(UInt64* position) const override
    {
        return below_.GetOutputPosition(position);
    }
    void SetDefaultOutputProtocol() override { SetOutputProtocol(ownProtocol_); }
    QVErrCode PushMark() override { return below_.PushMark(); }
    QVErrCode PopMark() override { return below_.PopMark(); }
    UInt32 GetOffset() const override { return below_.GetOffset(); }
    void ResetOffset() override { below_.ResetOffset(); }
    QVErrCode GetOutputStatus() const override { return status_; }
    void ResetOutputStatus() override { status_ = NoError; }

    /// Lets everything through, as if the fault had been repaired.
    void Repair()
    {
        left_ = NoLimit;
        ResetOutputStatus();
    }

private:
    OMemProtocol ownProtocol_;
    OChannel& below_;
    UInt32 most_;
    UInt64 left_;
    QVErrCode code_;
    QVErrCode status_ = NoError;
};

} // namespace QV::Test
