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
#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/ObjectModel/SerializationContext.hpp>

#include <cstring>

namespace QV {

namespace Impl {
struct MemImage;
}

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

    /// Read one value through the protocol, or as its image where that is the same (`OpenWindow`). A value
    /// that cannot be read stays as it was. Text goes into the caller's buffer, which nothing bounds.
    QVErrCode Read(char& value) { return ReadScalar(value); }
    QVErrCode Read(unsigned char& value) { return ReadScalar(value); }
    QVErrCode Read(short& value) { return ReadScalar(value); }
    QVErrCode Read(unsigned short& value) { return ReadScalar(value); }
    QVErrCode Read(int& value) { return ReadScalar(value); }
    QVErrCode Read(unsigned int& value) { return ReadScalar(value); }
    QVErrCode Read(long& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(unsigned long& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(Int64& value) { return ReadScalar(value); }
    QVErrCode Read(UInt64& value) { return ReadScalar(value); }
    QVErrCode Read(float& value) { return ReadScalar(value); }
    QVErrCode Read(double& value) { return ReadScalar(value); }
    QVErrCode Read(long double& value) { return protocol_->Read(*this, value); }
    QVErrCode Read(bool& value) { return ReadScalar(value); }
    QVErrCode Read(char* value) { return protocol_->Read(*this, value); }
    QVErrCode Read(Guid& value)
    {
        if (const char* const image = TakeWindow(guidSize)) [[likely]] {
            std::memcpy(static_cast<void*>(&value), image, guidSize);
            return NoError;
        }
        return protocol_->Read(*this, value);
    }
    QVErrCode Read(Object& value)
    {
        // Under a window the protocol is known, and so is what it does.
        return windowEnd_ != nullptr ? value.Read(*this) : protocol_->Read(*this, value);
    }
    QVErrCode Read(signed char& value) { return Read(reinterpret_cast<char&>(value)); }

    /// What an object reader reports: an end of input inside an object violates the object's format.
    static QVErrCode ConvertObjectReadError(int error) noexcept;

protected:
    explicit IChannel(IProtocol& protocol) noexcept : protocol_(&protocol), context_(&ownContext_) {}
    /// Copying copies both references, but a context of the source's own becomes one of the copy's own.
    IChannel(const IChannel& other) noexcept;
    IChannel& operator=(const IChannel& other) noexcept;

    /// Opens the channel's memory to scalars: from `next` to `end` they are taken as their images, past
    /// protocol and `ReadBin`. Only for a channel that is sound, whose protocol is exactly the native one,
    /// and whose operations no derived class changes.
    void OpenWindow(const char* next, const char* end) noexcept
    {
        windowNext_ = next;
        windowEnd_ = end;
    }
    /// Where the next byte comes from; null when no window was opened. A window that was shut by another
    /// protocol still tells.
    const char* GetWindowNext() const noexcept { return windowNext_; }
    void CloseWindow() noexcept { OpenWindow(nullptr, nullptr); }

private:
    friend struct Impl::MemImage;

    static constexpr USize guidSize = 16;

    template <class T>
    QVErrCode ReadScalar(T& value)
    {
        if (const char* const image = TakeWindow(sizeof(value))) [[likely]] {
            std::memcpy(&value, image, sizeof(value));
            return NoError;
        }
        return protocol_->Read(*this, value);
    }

    /// The next n bytes of the window; null when it is shut or has not as many.
    const char* TakeWindow(USize n) noexcept
    {
        const char* const image = LookIntoWindow(n);
        windowNext_ += image == nullptr ? 0 : n;
        return image;
    }
    const char* LookIntoWindow(USize n) const noexcept
    {
        // As numbers: a window that is shut ends at null.
        const USize end = reinterpret_cast<USize>(windowNext_) + n;
        return end > reinterpret_cast<USize>(windowEnd_) ? nullptr : windowNext_;
    }

    IProtocol* protocol_;
    const char* windowNext_ = nullptr;
    const char* windowEnd_ = nullptr;
    SerializationContext* context_;
    SerializationContext ownContext_;
};

} // namespace QV
