#include "DocumentBase.hpp"

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>

#include <algorithm>
#include <utility>

namespace Tour {

using namespace QV;

DocumentBase::DocumentBase(const UniString& name, Array<UniString> paragraphs)
    : name_(name), paragraphs_(std::move(paragraphs))
{
}

QVErrCode DocumentBase::Write(OChannel& oc) const
{
    const OutputFrame frame(oc, *GetClassInfo());
    oc << name_ << paragraphs_.GetCount();
    for (const UniString& paragraph : paragraphs_) {
        oc << paragraph;
    }
    WriteMore(oc, frame.GetVersion());
    return oc.GetOutputStatus();
}

QVErrCode DocumentBase::Read(IChannel& ic)
{
    QVErrCode error = ReadInFrame(ic);
    if (error == NoError) {
        error = ic.GetInputStatus(); // the frame's end may have looked for data in vain
    }
    if (error != NoError) {
        name_.Clear();
        paragraphs_.Clear();
    }
    return IChannel::ConvertObjectReadError(error);
}

QVErrCode DocumentBase::ReadInFrame(IChannel& ic)
{
    const InputFrame frame(ic, *GetClassInfo());
    if (frame.GetStatus() != NoError) {
        return frame.GetStatus();
    }
    UInt64 start = 0;
    UInt64 end = 0;
    ic.GetInputPosition(&start);
    const QVErrCode error = ReadFields(ic, frame.GetVersion());
    ic.GetInputPosition(&end);
    if (error == NoError && frame.GetDataLength() != 0 && end - start > frame.GetDataLength()) {
        return ErrDataIntegrity; // the fields go on beyond the frame
    }
    return error;
}

QVErrCode DocumentBase::ReadFields(IChannel& ic, ClassVersion version)
{
    if (const QVErrCode error = ic.Read(name_)) {
        return error;
    }
    UInt32 count = 0;
    if (const QVErrCode error = ic.Read(count)) {
        return error;
    }
    paragraphs_.Clear();
    for (UInt32 i = 0; i < count; ++i) {
        // Whatever the count says, memory grows only as paragraphs arrive.
        if (const QVErrCode error = ic.Read(paragraphs_.Emplace())) {
            return error;
        }
    }
    return ReadMore(ic, version);
}

QVErrCode DocumentBase::ReadMore(IChannel&, ClassVersion)
{
    return NoError;
}

void DocumentBase::WriteMore(OChannel&, ClassVersion) const {}

bool DocumentBase::HasSameText(const DocumentBase& other) const
{
    return name_ == other.name_ && std::equal(paragraphs_.begin(), paragraphs_.end(),
                                              other.paragraphs_.begin(), other.paragraphs_.end());
}

} // namespace Tour
