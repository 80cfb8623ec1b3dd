/// The native binary encoding with the bytes of every number in reverse, for data of a platform with the
/// other byte order.
///
///     UInt16 sign;                    // at the head of the data: the same in both byte orders
///     channel.Read(sign);
///     if (NeedByteSwap(PlatformSign(sign))) {
///         channel.SetInputProtocol(swapped);
///     }
///
/// Single bytes, and with them 8-bit texts, stay as they are; lengths in front of texts do not.
///
/// Threads: no state. Errors and allocation: those of the native protocols.
#pragma once

#include <QVRoot/Channel/MemProtocol.hpp>

namespace QV {

class QV_EXPORT ISwappedMemProtocol : public IMemProtocol {
public:
    ~ISwappedMemProtocol() override;

    using IMemProtocol::Read;

    QVErrCode Read(IChannel& ic, Guid& value) override;
    QVErrCode Read(IChannel& ic, double& value) override;
    QVErrCode Read(IChannel& ic, float& value) override;
    QVErrCode Read(IChannel& ic, UInt64& value) override;
    QVErrCode Read(IChannel& ic, Int64& value) override;
    QVErrCode Read(IChannel& ic, UInt32& value) override;
    QVErrCode Read(IChannel& ic, Int32& value) override;
    QVErrCode Read(IChannel& ic, UInt16& value) override;
    QVErrCode Read(IChannel& ic, Int16& value) override;
};

class QV_EXPORT OSwappedMemProtocol : public OMemProtocol {
public:
    ~OSwappedMemProtocol() override;

    using OMemProtocol::Write;

    QVErrCode Write(OChannel& oc, const Guid& value) override;
    QVErrCode Write(OChannel& oc, double value) override;
    QVErrCode Write(OChannel& oc, float value) override;
    QVErrCode Write(OChannel& oc, UInt64 value) override;
    QVErrCode Write(OChannel& oc, Int64 value) override;
    QVErrCode Write(OChannel& oc, UInt32 value) override;
    QVErrCode Write(OChannel& oc, Int32 value) override;
    QVErrCode Write(OChannel& oc, UInt16 value) override;
    QVErrCode Write(OChannel& oc, Int16 value) override;
};

} // namespace QV
