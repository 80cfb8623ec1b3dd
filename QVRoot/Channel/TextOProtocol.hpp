/// The output protocol of readable text: it turns any channel into one to print on.
///
///     channel.SetOutputProtocol(textOProtocol);
///     channel << "x = " << 0.1 << '\n'; // x = 0.1
///     exception.Print(channel);
///
/// | type                          | text                                                                   |
/// |-------------------------------|------------------------------------------------------------------------|
/// | char, UInt8                   | the character itself, one byte                                         |
/// | other integers                | decimal                                                                |
/// | float                         | six decimals ("%f")                                                    |
/// | double, long double           | 16 significant digits, trailing zeros dropped ("%.16g"), as double     |
/// | bool                          | "true" or "false"                                                      |
/// | const void*                   | "0x" and 16 digits, or "nullptr"                                       |
/// | const char*                   | its characters                                                         |
/// | Object                        | what the object writes: its serialized form                            |
/// | Guid                          | three numbers and eight bytes run together; print `ToString()` instead |
///
/// Nothing is put between values. The text is the same on every target and in every locale.
///
/// Threads: no state, so any. Errors: the channel's; `ErrGeneral` for a null text. Allocation: none.
#pragma once

#include <QVRoot/Channel/OProtocol.hpp>

namespace QV {

class QV_EXPORT TextOProtocol : public OProtocol {
public:
    constexpr TextOProtocol() noexcept = default;
    TextOProtocol(const TextOProtocol&) = default;
    TextOProtocol(TextOProtocol&&) = default;
    TextOProtocol& operator=(const TextOProtocol&) = default;
    TextOProtocol& operator=(TextOProtocol&&) = default;
    ~TextOProtocol() override;

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

/// The shared instance. It serves before `main` and after it.
QV_EXPORT extern TextOProtocol& textOProtocol;

} // namespace QV
