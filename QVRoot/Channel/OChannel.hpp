/// An output channel: moves raw bytes and knows nothing of types. It forwards each typed `Write` to the
/// protocol that it refers to.
///
///     channel.Write(UInt32{3});
///     channel << 1.5 << "text";
///     if (const QVErrCode error = channel.GetOutputStatus()) …
///
/// Lengths, positions and offsets are bytes.
///
/// | state | writes                               | leaves it by         |
/// |-------|--------------------------------------|----------------------|
/// | sound | deliver                              | a failing write      |
/// | error | answer the stored code, write nothing| `ResetOutputStatus`  |
///
/// Threads: one at a time. Errors: codes only. Allocation: none here.
#pragma once

#include <QVRoot/Channel/OProtocol.hpp>
#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/ObjectModel/SerializationContext.hpp>

#include <cstring>

namespace QV {

namespace Impl {
struct MemImage;
}

class IChannel;

class QV_EXPORT OChannel {
public:
    virtual ~OChannel();

    /// Writes up to n bytes and stores the number written.
    virtual QVErrCode WriteBin(const char* src, UInt32 n, UInt32* written) = 0;
    /// A window of up to n bytes into the channel's own buffer.
    virtual QVErrCode DirectOutputAccess(UInt32 n, char** data, UInt32* available) = 0;
    /// The number of bytes written so far.
    virtual QVErrCode GetOutputPosition(UInt64* position) const = 0;
    virtual QVErrCode Flush();
    virtual void SetDefaultOutputProtocol() = 0;
    /// The protocol is not owned and must outlive the channel.
    virtual void SetOutputProtocol(OProtocol& protocol);
    /// A mark remembers the position. Popping it goes back there and keeps the distance as the offset, so
    /// that a length can be written where its placeholder stands; resetting the offset returns to the end.
    virtual QVErrCode PushMark() = 0;
    virtual QVErrCode PopMark() = 0;
    /// Bytes since the mark that was popped last.
    virtual UInt32 GetOffset() const = 0;
    virtual void ResetOffset() = 0;
    /// The context is not owned and must outlive the channel.
    virtual void SetOutputContext(SerializationContext& context);
    /// The sticky error, 0 when the channel is sound.
    virtual QVErrCode GetOutputStatus() const = 0;
    virtual void ResetOutputStatus() = 0;

    OProtocol& GetOutputProtocol() const noexcept { return *protocol_; }
    SerializationContext& GetOutputContext() const noexcept { return *context_; }

    /// Write one value through the protocol, or as its image where that is the same (`OpenWindow`).
    QVErrCode Write(char value) { return WriteScalar(value); }
    QVErrCode Write(unsigned char value) { return WriteScalar(value); }
    QVErrCode Write(short value) { return WriteScalar(value); }
    QVErrCode Write(unsigned short value) { return WriteScalar(value); }
    QVErrCode Write(int value) { return WriteScalar(value); }
    QVErrCode Write(unsigned int value) { return WriteScalar(value); }
    QVErrCode Write(long value) { return protocol_->Write(*this, value); }
    QVErrCode Write(unsigned long value) { return protocol_->Write(*this, value); }
    QVErrCode Write(Int64 value) { return WriteScalar(value); }
    QVErrCode Write(UInt64 value) { return WriteScalar(value); }
    QVErrCode Write(float value) { return WriteScalar(value); }
    QVErrCode Write(double value) { return WriteScalar(value); }
    QVErrCode Write(long double value) { return protocol_->Write(*this, value); }
    QVErrCode Write(bool value) { return WriteScalar(value); }
    QVErrCode Write(const char* value) { return protocol_->Write(*this, value); }
    QVErrCode Write(const void* value) { return protocol_->Write(*this, value); }
    QVErrCode Write(const Guid& value)
    {
        if (char* const image = TakeWindow(guidSize)) [[likely]] {
            std::memcpy(image, static_cast<const void*>(&value), guidSize);
            return NoError;
        }
        return protocol_->Write(*this, value);
    }
    QVErrCode Write(const Object& value)
    {
        // Under a window the protocol is known, and so is what it does.
        return windowEnd_ != nullptr ? value.Write(*this) : protocol_->Write(*this, value);
    }
    QVErrCode Write(signed char value) { return Write(static_cast<char>(value)); }

    /// The same by name; a long has 32 bits on a channel.
    QVErrCode WriteBool(bool value) { return Write(value); }
    QVErrCode WriteChar(char value) { return Write(value); }
    QVErrCode WriteUChar(unsigned char value) { return Write(value); }
    QVErrCode WriteShort(short value) { return Write(value); }
    QVErrCode WriteUShort(unsigned short value) { return Write(value); }
    QVErrCode WriteInt(int value) { return Write(value); }
    QVErrCode WriteLong(int value) { return Write(value); }
    QVErrCode WriteUInt(unsigned int value) { return Write(value); }
    QVErrCode WriteULong(unsigned int value) { return Write(value); }
    QVErrCode WriteInt64(Int64 value) { return Write(value); }
    QVErrCode WriteUInt64(UInt64 value) { return Write(value); }
    QVErrCode WriteFloat(float value) { return Write(value); }
    QVErrCode WriteDouble(double value) { return Write(value); }
    QVErrCode WriteLDouble(long double value) { return Write(value); }

    /// Begins and ends a block that is prefixed with its length as `UInt32`. On a channel without marks it
    /// costs two zeros instead, one before and one after the content. Both answer the result of writing the
    /// length.
    QVErrCode OpenBlock();
    QVErrCode CloseBlock();

protected:
    explicit OChannel(OProtocol& protocol) noexcept : protocol_(&protocol), context_(&ownContext_) {}
    /// Copying copies both references, but a context of the source's own becomes one of the copy's own.
    OChannel(const OChannel& other) noexcept;
    OChannel& operator=(const OChannel& other) noexcept;

    /// Opens the channel's memory to scalars: from `next` to `end` they are put there as their images, past
    /// protocol and `WriteBin`. Only for a channel that is sound, whose protocol is exactly the native one,
    /// and whose operations no derived class changes.
    void OpenWindow(char* next, char* end) noexcept
    {
        windowNext_ = next;
        windowEnd_ = end;
    }
    /// Where the next byte goes; null when no window was opened. A window that was shut by another protocol
    /// still tells.
    char* GetWindowNext() const noexcept { return windowNext_; }
    void CloseWindow() noexcept { OpenWindow(nullptr, nullptr); }

private:
    friend struct Impl::MemImage;

    static constexpr USize guidSize = 16;

    template <class T>
    QVErrCode WriteScalar(T value)
    {
        if (char* const image = TakeWindow(sizeof(value))) [[likely]] {
            std::memcpy(image, &value, sizeof(value));
            return NoError;
        }
        return protocol_->Write(*this, value);
    }

    /// The next n bytes of the window; null when it is shut or has not as many.
    char* TakeWindow(USize n) noexcept
    {
        // As numbers: a window that is shut ends at null.
        if (reinterpret_cast<USize>(windowNext_) + n > reinterpret_cast<USize>(windowEnd_)) {
            return nullptr;
        }
        char* const image = windowNext_;
        windowNext_ += n;
        return image;
    }

    OProtocol* protocol_;
    char* windowNext_ = nullptr;
    char* windowEnd_ = nullptr;
    SerializationContext* context_;
    SerializationContext ownContext_;
};

/// Writes a value and drops the result: look at `GetOutputStatus` afterwards.
template <class T>
requires requires(OChannel& oc, const T& value)
{
    oc.Write(value);
}
OChannel& operator<<(OChannel& oc, const T& value)
{
    oc.Write(value);
    return oc;
}

/// Copies n bytes; all bits set means: to the end of the input. Input that ends earlier than n is copied and
/// answered with `ErrEndOfInput`. The bytes of a read that fails otherwise are not written.
QV_EXPORT QVErrCode Copy(IChannel& in, OChannel& out, UInt64 n);

} // namespace QV
