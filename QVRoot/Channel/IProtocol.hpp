/// Turns bytes on a channel into one typed value.
///
/// Each operation takes the channel first, delivers the value through the reference and returns an error
/// code; a value that cannot be read stays as it was.
///
/// Threads: as its class says; the library's own protocols have no state.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>

namespace QV {

class Guid;
class IChannel;
class Object;

class QV_EXPORT IProtocol {
public:
    virtual ~IProtocol();
    /// The structured form: the parts through their own slots. Answers the channel's status.
    virtual QVErrCode Read(IChannel& ic, Guid& value);
    virtual QVErrCode Read(IChannel& ic, Object& value) = 0;
    virtual QVErrCode Read(IChannel& ic, char* value) = 0;
    virtual QVErrCode Read(IChannel& ic, long double& value) = 0;
    virtual QVErrCode Read(IChannel& ic, double& value) = 0;
    virtual QVErrCode Read(IChannel& ic, float& value) = 0;
    virtual QVErrCode Read(IChannel& ic, UInt64& value) = 0;
    virtual QVErrCode Read(IChannel& ic, Int64& value) = 0;
    virtual QVErrCode Read(IChannel& ic, unsigned long& value) = 0;
    virtual QVErrCode Read(IChannel& ic, long& value) = 0;
    virtual QVErrCode Read(IChannel& ic, UInt32& value) = 0;
    virtual QVErrCode Read(IChannel& ic, Int32& value) = 0;
    virtual QVErrCode Read(IChannel& ic, UInt16& value) = 0;
    virtual QVErrCode Read(IChannel& ic, Int16& value) = 0;
    virtual QVErrCode Read(IChannel& ic, bool& value) = 0;
    virtual QVErrCode Read(IChannel& ic, UInt8& value) = 0;
    virtual QVErrCode Read(IChannel& ic, char& value) = 0;

protected:
    IProtocol() = default;
    IProtocol(const IProtocol&) = default;
    IProtocol& operator=(const IProtocol&) = default;
};

} // namespace QV
