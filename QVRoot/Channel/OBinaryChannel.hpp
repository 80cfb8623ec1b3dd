/// A drain of bytes that throws: what sub-channels are written into, and what they are themselves.
///
///     channel.Write(bytes, n);
///     channel.Close();
///
/// A class that derives from it implements `WriteBytes`, `Flush` and `Close`. One that collects bytes in
/// memory also sets a window: writes that fit it go there in place. Nothing is flushed or closed by a
/// destructor, which could not report a failure.
///
/// Lengths are bytes. Threads: one at a time. Errors: `IllegalArgumentException` for null data, even when n
/// is 0; `WriteErrorException` and its kin where the drain fails. What was written before a failure stays.
#pragma once

#include <QVRoot/Channel/BinaryChannelRef.hpp>

#include <cstring>

namespace QV {

class QV_EXPORT OBinaryChannel : public RefCounted {
public:
    OBinaryChannel(const OBinaryChannel&) = delete;
    OBinaryChannel& operator=(const OBinaryChannel&) = delete;
    ~OBinaryChannel() override;

    /// Writes all n bytes.
    void Write(const char* data, UInt32 n)
    {
        // A count of 0 wraps and takes the long way, where a closed channel shows.
        if (USize{n} - 1 < GetRoom() && data != nullptr) [[likely]] {
            Append(data, n);
            return;
        }
        if (data == nullptr) [[unlikely]] {
            RefuseNull();
        }
        WriteBytes(data, n);
    }

    /// Hands on what the channel holds back, as far as its class does that.
    virtual void Flush() = 0;
    /// Ends the use of the channel. What that means to a channel below, the class says.
    virtual void Close() = 0;

    /// How many channels lie below this one.
    UInt32 GetNesting() const noexcept { return nesting_; }

protected:
    explicit OBinaryChannel(UInt32 nesting = 0) noexcept : nesting_(nesting) {}

    /// Called where the window does not take a write; n may be 0.
    virtual void WriteBytes(const char* data, UInt32 n) = 0;

    void SetWindow(char* begin, char* end) noexcept
    {
        at_ = begin;
        end_ = end;
    }
    /// The bytes that the window still takes.
    USize GetRoom() const noexcept { return static_cast<USize>(end_ - at_); }
    char* GetWindowPosition() const noexcept { return at_; }
    /// For n bytes that fit the window.
    void Append(const char* data, UInt32 n) noexcept
    {
        std::memcpy(at_, data, n);
        at_ += n;
    }

private:
    [[noreturn]] static void RefuseNull();

    char* at_ = nullptr;
    char* end_ = nullptr;
    UInt32 nesting_;
};

} // namespace QV
