/// Turns one typed value into bytes on a channel.
///
/// Each operation takes the channel first and returns an error code.
///
/// Threads: as its class says; the library's own protocols have no state.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>

namespace QV {

class Guid;
class OChannel;
class Object;

class QV_EXPORT OProtocol {
public:
    virtual ~OProtocol();
    /// The structured form: the parts through their own slots. Answers the channel's status.
    virtual QVErrCode Write(OChannel& oc, const Guid& value);
    virtual QVErrCode Write(OChannel& oc, const Object& value) = 0;
    virtual QVErrCode Write(OChannel& oc, const char* value) = 0;
    virtual QVErrCode Write(OChannel& oc, const void* value) = 0;
    virtual QVErrCode Write(OChannel& oc, long double value) = 0;
    virtual QVErrCode Write(OChannel& oc, double value) = 0;
    virtual QVErrCode Write(OChannel& oc, float value) = 0;
    virtual QVErrCode Write(OChannel& oc, UInt64 value) = 0;
    virtual QVErrCode Write(OChannel& oc, Int64 value) = 0;
    virtual QVErrCode Write(OChannel& oc, unsigned long value) = 0;
    virtual QVErrCode Write(OChannel& oc, long value) = 0;
    virtual QVErrCode Write(OChannel& oc, UInt32 value) = 0;
    virtual QVErrCode Write(OChannel& oc, Int32 value) = 0;
    virtual QVErrCode Write(OChannel& oc, UInt16 value) = 0;
    virtual QVErrCode Write(OChannel& oc, Int16 value) = 0;
    virtual QVErrCode Write(OChannel& oc, bool value) = 0;
    virtual QVErrCode Write(OChannel& oc, UInt8 value) = 0;
    virtual QVErrCode Write(OChannel& oc, char value) = 0;
    /// A remark that a protocol may add to its output. Does nothing here.
    virtual void Note(OChannel& oc, UInt32 kind, UInt32 value, const char* text);

protected:
    OProtocol() = default;
    OProtocol(const OProtocol&) = default;
    OProtocol& operator=(const OProtocol&) = default;
};

} // namespace QV
