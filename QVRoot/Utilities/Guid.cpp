#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>
#include <QVRoot/Utilities/Guid.hpp>

namespace QV {

QVErrCode Guid::ReadStructured(IChannel& ic)
{
    ic.Read(data1_);
    ic.Read(data2_);
    ic.Read(data3_);
    for (UInt8& byte : data4_) {
        ic.Read(byte);
    }
    return ic.GetInputStatus();
}

QVErrCode Guid::WriteStructured(OChannel& oc) const
{
    oc.Write(data1_);
    oc.Write(data2_);
    oc.Write(data3_);
    for (const UInt8 byte : data4_) {
        oc.Write(byte);
    }
    return oc.GetOutputStatus();
}

} // namespace QV
