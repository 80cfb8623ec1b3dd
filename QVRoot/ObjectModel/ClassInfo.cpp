#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/ClassInfo.hpp>

#include <atomic>

namespace QV {

namespace {

constinit std::atomic<UInt32> outputVersion = 0;

} // namespace

QVErrCode ClassVersion::Read(IChannel& ic)
{
    const QVErrCode error = ic.Read(mainVersion);
    return error != NoError ? error : ic.Read(subVersion);
}

QVErrCode ClassVersion::Write(OChannel& oc) const
{
    const QVErrCode error = oc.Write(mainVersion);
    return error != NoError ? error : oc.Write(subVersion);
}

QVErrCode ClassType::Read(IChannel& ic)
{
    const QVErrCode error = ic.Read(creator);
    return error != NoError ? error : ic.Read(type);
}

QVErrCode ClassType::Write(OChannel& oc) const
{
    const QVErrCode error = oc.Write(creator);
    return error != NoError ? error : oc.Write(type);
}

UInt32 ClassManager::GetOutputVersion() noexcept
{
    return outputVersion.load(std::memory_order_relaxed);
}

void ClassManager::SetOutputVersion(UInt32 version) noexcept
{
    outputVersion.store(version, std::memory_order_relaxed);
}

} // namespace QV
