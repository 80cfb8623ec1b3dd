#include <QVRoot/Channel/IProtocol.hpp>
#include <QVRoot/Channel/OProtocol.hpp>
#include <QVRoot/Utilities/Guid.hpp>

namespace QV {

IProtocol::~IProtocol() = default;

QVErrCode IProtocol::Read(IChannel& ic, Guid& value)
{
    return value.ReadStructured(ic);
}

OProtocol::~OProtocol() = default;

QVErrCode OProtocol::Write(OChannel& oc, const Guid& value)
{
    return value.WriteStructured(oc);
}

void OProtocol::Note(OChannel&, UInt32, UInt32, const char*) {}

} // namespace QV
