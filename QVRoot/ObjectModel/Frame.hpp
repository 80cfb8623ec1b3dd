/// The versioned frame around the data of a persistent object.
///
///     QVErrCode Wall::Write(OChannel& oc) const
///     {
///         OutputFrame frame(oc, *GetClassInfo());
///         oc.Write(height_);
///         return oc.GetOutputStatus();
///     }
///
///     QVErrCode Wall::Read(IChannel& ic)
///     {
///         InputFrame frame(ic, *GetClassInfo());
///         if (frame.GetStatus() != NoError) {
///             return IChannel::ConvertObjectReadError(frame.GetStatus());
///         }
///         return IChannel::ConvertObjectReadError(ic.Read(height_));
///     }
///
/// On the channel: main version (1 byte), sub version (1 byte) and, when the sub version is not 0, the length
/// of the data (`UInt32`); then the data. A nonzero sub version needs a channel with marks for writing and
/// with positions for reading: on the memory channels it costs a zero before and a zero after the data and
/// cannot be read back.
///
/// Threads: one at a time. Errors: `GetStatus` and the channel's own status; nothing throws. Allocation:
/// none.
#pragma once

#include <QVRoot/ObjectModel/ClassManager.hpp>

namespace QV {

/// Writes the version and opens the data's block; its end closes the block.
class QV_EXPORT OutputFrame {
public:
    OutputFrame(OChannel& oc, const ClassInfo& classInfo);
    ~OutputFrame();
    OutputFrame(const OutputFrame&) = delete;
    OutputFrame& operator=(const OutputFrame&) = delete;

    /// The version written: the class's current one, or its old one under an older output version.
    const ClassVersion& GetVersion() const noexcept { return version_; }
    UInt8 GetMainVersion() const noexcept { return version_.mainVersion; }
    UInt8 GetSubVersion() const noexcept { return version_.subVersion; }

private:
    OChannel& channel_;
    ClassVersion version_;
};

/// Reads the version and the data's length; its end skips what the reader has not consumed.
class QV_EXPORT InputFrame {
public:
    InputFrame(IChannel& ic, const ClassInfo& classInfo);
    ~InputFrame();
    InputFrame(const InputFrame&) = delete;
    InputFrame& operator=(const InputFrame&) = delete;

    const ClassVersion& GetVersion() const noexcept { return version_; }
    UInt8 GetMainVersion() const noexcept { return version_.mainVersion; }
    UInt8 GetSubVersion() const noexcept { return version_.subVersion; }

    /// The length of the data in bytes; 0 when the frame has none.
    UInt32 GetDataLength() const noexcept { return length_; }

    /// 0 when the data may be read. `ErrGeneral` for main version 0, one newer than the class's own, or a
    /// channel without positions; otherwise the channel's error.
    int GetStatus() const noexcept { return status_; }

private:
    IChannel& channel_;
    ClassVersion version_;
    UInt32 length_ = 0;
    UInt64 start_ = 0;
    int status_ = 0;
};

} // namespace QV
