#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>

namespace QV {

OutputFrame::OutputFrame(OChannel& oc, const ClassInfo& classInfo)
    : channel_(oc),
      version_(ClassManager::GetOutputVersion() == 0 ? classInfo.GetVersion() : classInfo.GetOldVersion())
{
    version_.Write(oc);
    if (version_.subVersion != 0) {
        oc.OpenBlock();
    }
}

OutputFrame::~OutputFrame()
{
    if (version_.subVersion == 0) {
        return;
    }
    try {
        channel_.CloseBlock();
    } catch (...) {
        // A frame may end because an exception is on its way; the channel keeps its own status.
    }
}

InputFrame::InputFrame(IChannel& ic, const ClassInfo& classInfo) : channel_(ic)
{
    status_ = version_.Read(ic);
    if (status_ != NoError) {
        return;
    }
    if (version_.mainVersion == 0 || version_.mainVersion > classInfo.GetVersion().mainVersion) {
        status_ = ErrGeneral;
        return;
    }
    if (version_.subVersion == 0) {
        return;
    }
    status_ = ic.Read(length_);
    if (status_ == NoError && length_ != 0) {
        status_ = ic.GetInputPosition(&start_);
    }
}

InputFrame::~InputFrame()
{
    if (status_ != NoError || length_ == 0) {
        return;
    }
    try {
        UInt64 position = 0;
        status_ = channel_.GetInputPosition(&position);
        const UInt64 consumed = position - start_;
        if (status_ == NoError && length_ > consumed) {
            channel_.Skip(length_ - consumed, nullptr);
        }
    } catch (...) {
        // As above.
    }
}

} // namespace QV
