/// The native binary encoding: every scalar as its little-endian image, without tags, padding or alignment.
///
/// | type                                  | bytes                                                     |
/// |---------------------------------------|-----------------------------------------------------------|
/// | char, UInt8, bool                     | 1; a bool is read raw, so only 0 and 1 make a valid one   |
/// | Int16, UInt16                         | 2                                                         |
/// | Int32, UInt32, long, unsigned long    | 4; a long that does not fit is refused with `ErrParam`    |
/// | Int64, UInt64                         | 8                                                         |
/// | float                                 | 4                                                         |
/// | double, long double                   | 8; a long double becomes a double                         |
/// | const void*                           | none; answers `ErrGeneral`                                |
/// | const char*                           | Int32 length with the NUL, the bytes, the NUL             |
/// | Guid                                  | 16                                                        |
/// | Object                                | what the object writes                                    |
///
/// Threads: no state, so any. Errors: the channel's; `ErrGeneral` for a null text.
#pragma once

#include <QVRoot/Channel/IProtocol.hpp>
#include <QVRoot/Channel/OProtocol.hpp>

namespace QV {

class QV_EXPORT IMemProtocol : public IProtocol {
public:
    using IProtocol::Read;
    QVErrCode Read(IChannel& ic, Object& value) override;
    /// The text and its NUL go into the caller's buffer, which must be large enough. A negative length in the
    /// input answers `ErrDataIntegrity`.
    QVErrCode Read(IChannel& ic, char* value) override;
    QVErrCode Read(IChannel& ic, long double& value) override;
    QVErrCode Read(IChannel& ic, double& value) override;
    QVErrCode Read(IChannel& ic, float& value) override;
    QVErrCode Read(IChannel& ic, UInt64& value) override;
    QVErrCode Read(IChannel& ic, Int64& value) override;
    QVErrCode Read(IChannel& ic, unsigned long& value) override;
    QVErrCode Read(IChannel& ic, long& value) override;
    QVErrCode Read(IChannel& ic, UInt32& value) override;
    QVErrCode Read(IChannel& ic, Int32& value) override;
    QVErrCode Read(IChannel& ic, UInt16& value) override;
    QVErrCode Read(IChannel& ic, Int16& value) override;
    QVErrCode Read(IChannel& ic, bool& value) override;
    QVErrCode Read(IChannel& ic, UInt8& value) override;
    QVErrCode Read(IChannel& ic, char& value) override;
};

class QV_EXPORT OMemProtocol : public OProtocol {
public:
    using OProtocol::Write;
    QVErrCode Write(OChannel& oc, const Object& value) override;
    QVErrCode Write(OChannel& oc, const char* value) override;
    QVErrCode Write(OChannel& oc, const void* value) override;
    QVErrCode Write(OChannel& oc, long double value) override;
    QVErrCode Write(OChannel& oc, double value) override;
    QVErrCode Write(OChannel& oc, float value) override;
    QVErrCode Write(OChannel& oc, UInt64 value) override;
    QVErrCode Write(OChannel& oc, Int64 value) override;
    QVErrCode Write(OChannel& oc, unsigned long value) override;
    QVErrCode Write(OChannel& oc, long value) override;
    QVErrCode Write(OChannel& oc, UInt32 value) override;
    QVErrCode Write(OChannel& oc, Int32 value) override;
    QVErrCode Write(OChannel& oc, UInt16 value) override;
    QVErrCode Write(OChannel& oc, Int16 value) override;
    QVErrCode Write(OChannel& oc, bool value) override;
    QVErrCode Write(OChannel& oc, UInt8 value) override;
    QVErrCode Write(OChannel& oc, char value) override;
};

} // namespace QV
