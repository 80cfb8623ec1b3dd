/// A source of bytes that throws: what sub-channels are cut from, and what they are themselves.
///
///     char block[512];
///     while (const UInt32 got = channel.Read(block, sizeof(block), ReadAtLeastOne)) {
///         Use(block, got);
///     }
///
/// A class that derives from it implements `ReadBytes`, `GetAvailable`, `IsEOI` and `Close`. One that holds
/// its bytes in memory also sets a window: reads that the window covers are served from it in place. A
/// section above borrows the window, so that reading through many sections costs no more than through one;
/// whatever the lender does next takes it back, with what was read. A class with a window therefore begins
/// each of its own operations with `Settle`, and the destructor that frees the bytes.
///
/// Lengths are bytes. Threads: one at a time. Errors: `IllegalArgumentException` for a null destination or a
/// count of 0; `ReadErrorException` where the source fails; an end of input is no error, but a count of 0.
#pragma once

#include <QVRoot/Channel/BinaryChannelRef.hpp>

#include <cstring>

namespace QV {

/// When a read is content.
enum ReadSomeModeSelector : UInt32 {
    ReadAtLeastOne = 0, ///< as soon as there is something: it does not wait for more
    ReadAll = 1,        ///< with everything asked for, unless the input, or its current piece, ends before
};

class QV_EXPORT IBinaryChannel : public RefCounted {
public:
    IBinaryChannel(const IBinaryChannel&) = delete;
    IBinaryChannel& operator=(const IBinaryChannel&) = delete;
    ~IBinaryChannel() override;

    /// Reads up to n bytes and answers how many; 0 only at the end.
    UInt32 Read(char* dest, UInt32 n, ReadSomeModeSelector mode = ReadAll)
    {
        // A count of 0 wraps and takes the long way, where it is refused.
        if (USize{n} - 1 < GetWindow() && dest != nullptr) [[likely]] {
            std::memcpy(dest, at_, n);
            at_ += n;
            return n;
        }
        return ReadSlowly(dest, n, mode);
    }

    /// Passes over up to n bytes and answers how many; 0 only at the end, or for n = 0.
    UInt64 SkipSome(UInt64 n);

    /// How many bytes are known to be there.
    virtual UInt64 GetAvailable() = 0;
    /// Whether the input is at its end.
    virtual bool IsEOI() = 0;
    /// Ends the use of the channel. What that means to a channel below, the class says.
    virtual void Close() = 0;

    /// How many channels lie below this one.
    UInt32 GetNesting() const noexcept { return nesting_; }

protected:
    explicit IBinaryChannel(UInt32 nesting = 0) noexcept : nesting_(nesting) {}

    /// Called where the window does not cover a read; n is not 0. Takes what is in the window first.
    virtual UInt32 ReadBytes(char* dest, UInt32 n, ReadSomeModeSelector mode) = 0;
    /// Called where the window is empty; n is not 0. This one reads into a scratch buffer.
    virtual UInt64 SkipBytes(UInt64 n);

    /// Takes the window back from a borrower, and gives a borrowed one back.
    void Settle() noexcept
    {
        if (borrower_ != nullptr || lender_ != nullptr) {
            SettleWindows();
        }
    }
    /// Makes the beginning of another channel's window, at most `most` bytes, the own one.
    void Borrow(IBinaryChannel& lender, UInt64 most) noexcept;
    /// Told when a borrowed window goes back: so many bytes of it have been read.
    virtual void OnReturned(USize consumed) noexcept;

    void SetWindow(const char* begin, const char* end) noexcept
    {
        at_ = begin;
        end_ = end;
    }
    /// The bytes in the window.
    USize GetWindow() const noexcept { return static_cast<USize>(end_ - at_); }
    const char* GetWindowPosition() const noexcept { return at_; }
    /// Moves up to n bytes out of the window and answers how many.
    UInt32 TakeFromWindow(char* dest, UInt32 n) noexcept;

private:
    UInt32 ReadSlowly(char* dest, UInt32 n, ReadSomeModeSelector mode);
    void SettleWindows() noexcept;
    void TakeBack() noexcept;
    void GiveBack() noexcept;

    const char* at_ = nullptr;
    const char* end_ = nullptr;
    IBinaryChannel* borrower_ = nullptr; ///< who reads this channel's window; it is empty here then
    const char* lentEnd_ = nullptr;      ///< where it ends
    IBinaryChannel* lender_ = nullptr;   ///< whose window this channel reads
    const char* borrowedAt_ = nullptr;   ///< where it began
    UInt32 nesting_;
};

} // namespace QV
