#include "Measurements.hpp"

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>

namespace Tour {

using namespace QV;

namespace {

constexpr ClassInfo measurementsInfo("Tour::Measurements", {1, 2},
                                     Guid(0x7C0A5D12, 0x94E3, 0x4B7F,
                                          {0xA1, 0x5E, 0x0D, 0x38, 0xF6, 0x42, 0x9B, 0xC7}),
                                     {3, 0}, {3, 0});

} // namespace

double Stage::GetMegabytesPerSecond() const
{
    return nanoseconds == 0 ? 0 : static_cast<double>(bytes) * 1e3 / static_cast<double>(nanoseconds);
}

const ClassInfo* Measurements::GetClassInfo() const
{
    return &measurementsInfo;
}

Measurements* Measurements::Clone() const
{
    return new Measurements(*this);
}

QVErrCode Measurements::Write(OChannel& oc) const
{
    const OutputFrame frame(oc, measurementsInfo);
    oc << files << inputBytes << characters << paragraphs << archiveBytes;
    oc << liveBlocks << liveBytes << peakBytes;
    summary.Write(oc);
    oc << stages.GetCount();
    for (const Stage& stage : stages) {
        oc << stage.name << stage.bytes << stage.nanoseconds << stage.allocations << stage.threads;
    }
    oc << versions.GetCount();
    for (const VersionResult& version : versions) {
        oc << version.what << version.outcome;
    }
    return oc.GetOutputStatus();
}

QVErrCode Measurements::Read(IChannel& ic)
{
    const InputFrame frame(ic, measurementsInfo);
    if (frame.GetStatus() != NoError) {
        return IChannel::ConvertObjectReadError(frame.GetStatus());
    }
    ic.Read(files);
    for (UInt64* const number :
         {&inputBytes, &characters, &paragraphs, &archiveBytes, &liveBlocks, &liveBytes, &peakBytes}) {
        ic.Read(*number);
    }
    summary.Read(ic);
    UInt32 count = 0;
    ic.Read(count);
    for (UInt32 i = 0; i < count && ic.GetInputStatus() == NoError; ++i) {
        Stage& stage = stages.Emplace();
        ic.Read(stage.name);
        ic.Read(stage.bytes);
        ic.Read(stage.nanoseconds);
        ic.Read(stage.allocations);
        ic.Read(stage.threads);
    }
    count = 0;
    ic.Read(count);
    for (UInt32 i = 0; i < count && ic.GetInputStatus() == NoError; ++i) {
        VersionResult& version = versions.Emplace();
        ic.Read(version.what);
        ic.Read(version.outcome);
    }
    return IChannel::ConvertObjectReadError(ic.GetInputStatus());
}

} // namespace Tour
