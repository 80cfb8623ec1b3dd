/// The part of the current stack that is known to be readable.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

/// What a walk reads through. Windows tells the bounds of a thread's stack. On Linux, where that would need
/// the heap, the window grows as the walk goes up: new pages are tried once per thread, by a system call that
/// answers an error where a read would fault. Both serve stacks that a program switches to on its own.
class StackWindow {
public:
    explicit StackWindow(UInt64 stackPointer) noexcept;
    ~StackWindow();
    StackWindow(const StackWindow&) = delete;
    StackWindow& operator=(const StackWindow&) = delete;

    /// False unless the word is aligned, above the stack pointer that the window was made for, and readable.
    /// On Linux a word more than 8 MB behind the pages known so far counts as unreadable.
    /// Saved registers lie between the variables: the address sanitizer is not to complain.
    [[gnu::no_sanitize_address]] bool Read(UInt64 address, UInt64& value) noexcept
    {
        if (address < begin_ || (address & 7) != 0 || (address >= end_ && !GrowTo(address))) [[unlikely]] {
            return false;
        }
        value = *reinterpret_cast<const UInt64*>(address);
        return true;
    }

private:
    bool GrowTo(UInt64 address) noexcept;
    bool JoinFrom(UInt64 page) noexcept;

    UInt64 begin_;
    UInt64 end_;
    UInt64 firstPage_ = 0;
    UInt64 remembered_ = 0; // what the thread knew before, packed
};

} // namespace QV::Impl
