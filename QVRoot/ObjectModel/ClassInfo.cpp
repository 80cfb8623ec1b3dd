#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/ObjectModel/ClassInfo.hpp>

namespace QV {

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

} // namespace QV
