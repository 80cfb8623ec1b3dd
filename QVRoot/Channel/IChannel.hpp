/// An input channel: moves raw bytes and knows nothing of types. It forwards each typed `Read` to the
/// protocol that it refers to.
///
///     UInt32 count;
///     if (const QVErrCode error = channel.Read(count)) …
///
/// Lengths and positions are bytes.
///
/// | state | reads                                | leaves it by         |
/// |-------|--------------------------------------|----------------------|
/// | sound | deliver                              | a failing read       |
/// | error | answer the stored code, do not move  | `ResetInputStatus`   |
///
/// Threads: one at a time. Errors: codes only; `ErrEndOfInput` when the input is exhausted. Allocation: none
/// here.
#pragma once

#include <QVRoot/Channel/IProtocol.hpp>
#include <QVRoot/ObjectModel/SerializationContext.hpp>

namespace QV {

class QV_EXPORT IChannel {
public:
    virtual ~IChannel();

    /// Reads up to n bytes and stores the number read. A short read that is not an error may be continued.
    virtual QVErrCode ReadBin(char* dest, UInt32 n, UInt32* got) = 0;
    /// Reads as `ReadBin` does without consuming.
    virtual QVErrCode CopyBin(char* dest, UInt32 n, UInt32* got) = 0;
    /// Peeks at the byte `index` positions ahead.
    virtual QVErrCode Look(UInt32 index, char* c) = 0;
    /// Return bytes to the front of the input.
    virtual QVErrCode PushBack(char c);
    virtual QVErrCode PushBack(const char* bytes, UInt32 n) = 0;
    /// Passes over n bytes and stores how many there were.
    virtual QVErrCode Skip(UInt64 n, UInt64* skipped) = 0;
    /// A window of up to n bytes into the channel's own buffer.
    virtual QVErrCode DirectInputAccess(UInt32 n, char** data, UInt32* available) = 0;
    /// The number of bytes consumed so far.
    virtual QVErrCode GetInputPosition(UInt64* position) const = 0;
    /// The number of bytes that can be read. With a count beyond 32 bits the first form stores 0 and answers
    /// `ErrGeneral`; a channel that cannot tell answers `ErrGeneral` and stores nothing.
    virtual QVErrCode GetAvailable(UInt32* n) const;
    virtual QVErrCode GetAvailable(UInt64* n) const;
    /// Whether the input is exhausted. A channel without `Look` never says so.
    virtual bool IsEOI();
    virtual void SetDefaultInputProtocol() = 0;
    /// The protocol and the context are not owned and must outlive the channel.
    virtual void SetInputProtocol(IProtocol& protocol);
    virtual void SetInputContext(SerializationContext& context);
    /// The sticky error, 0 when the channel is sound.
    virtual QVErrCode GetInputStatus() const = 0;
    virtual void ResetInputStatus() = 0;

    IProtocol& GetInputProtocol() const noexcept { return *protocol_; }
    SerializationContext& GetInputContext() const noexcept { return *context_; }

    /// Read one value through the protocol; a value that cannot be read stays as it was. Text goes into the
    /// caller's buffer, which nothing bounds.
    QVErrCode Read(char& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(unsigned char& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(short& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(unsigned short& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(int& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(unsigned int& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(long& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(unsigned long& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(Int64& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(UInt64& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(float& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(double& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(long double& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(bool& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(char* value) { return protocol_->Read(*this, value); }
    QVErrCode Read(Guid& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(Object& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(signed char& value) { return Read(reinterpret_cast<char&>(value)); }

    /// What an object reader reports: an end of input inside an object violates the object's format.
    static QVErrCode ConvertObjectReadError(int error) noexcept;

protected:
    explicit IChannel(IProtocol& protocol) noexcept : protocol_(&protocol), context_(&ownContext_) {}
    /// Copying copies both references, but a context of the source's own becomes one of the copy's own.
    IChannel(const IChannel& other) noexcept;
    IChannel& operator=(const IChannel& other) noexcept;

private:
    IProtocol* protocol_;
    SerializationContext* context_;
    SerializationContext ownContext_;
};

} // namespace QV
