/// Reads the encodings of unwind tables: bounded, and for good failed once it would leave its bounds.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <cstring>

namespace QV::Impl {

class CfiReader {
public:
    CfiReader(UInt64 begin, UInt64 end) noexcept : at_(begin), end_(end) {}

    bool HasFailed() const noexcept { return failed_; }
    bool IsAtEnd() const noexcept { return at_ >= end_; }
    UInt64 GetPosition() const noexcept { return at_; }
    UInt64 GetEnd() const noexcept { return end_; }

    template <typename T>
    T Read() noexcept
    {
        T value = 0;
        if (end_ - at_ < sizeof(T)) {
            Fail();
        } else {
            std::memcpy(&value, reinterpret_cast<const void*>(at_), sizeof value);
            at_ += sizeof(T);
        }
        return value;
    }

    void Skip(UInt64 count) noexcept
    {
        if (end_ - at_ < count) {
            Fail();
        } else {
            at_ += count;
        }
    }

    /// The next `count` bytes, which are skipped here.
    CfiReader ReadPart(UInt64 count) noexcept
    {
        const UInt64 begin = at_;
        Skip(count);
        return CfiReader(begin, failed_ ? begin : at_);
    }

    UInt64 ReadUleb() noexcept
    {
        UInt32 width = 0;
        return ReadLeb(width).value;
    }

    Int64 ReadSleb() noexcept
    {
        UInt32 width = 0;
        const Leb leb = ReadLeb(width);
        const bool isNegative = (leb.last & 0x40) != 0 && width < 64;
        return static_cast<Int64>(isNegative ? leb.value | ~UInt64(0) << width : leb.value);
    }

    /// A pointer in one of the tables' own encodings: absolute or relative to where it stands. All others
    /// fail.
    UInt64 ReadPointer(UInt8 encoding) noexcept
    {
        const UInt64 base = (encoding & 0xF0) == 0x10 ? at_ : 0;
        if ((encoding & 0xF0) != 0 && base == 0) {
            Fail();
            return 0;
        }
        return base + ReadPointerValue(encoding & 0x0F);
    }

    /// The same without adding the base: a length in the form of a pointer.
    UInt64 ReadPointerValue(UInt8 format) noexcept
    {
        switch (format & 0x0F) {
        case 0x00:
        case 0x04:
        case 0x0C:
            return Read<UInt64>();
        case 0x01:
            return ReadUleb();
        case 0x02:
            return Read<UInt16>();
        case 0x03:
            return Read<UInt32>();
        case 0x09:
            return static_cast<UInt64>(ReadSleb());
        case 0x0A:
            return static_cast<UInt64>(Int64{Read<Int16>()});
        case 0x0B:
            return static_cast<UInt64>(Int64{Read<Int32>()});
        default:
            Fail();
            return 0;
        }
    }

private:
    struct Leb {
        UInt64 value;
        UInt8 last;
    };

    Leb ReadLeb(UInt32& width) noexcept
    {
        Leb leb = {0, 0};
        do {
            leb.last = Read<UInt8>();
            if (width < 64) {
                leb.value |= static_cast<UInt64>(leb.last & 0x7F) << width;
                width += 7;
            }
        } while ((leb.last & 0x80) != 0);
        return leb;
    }

    void Fail() noexcept
    {
        failed_ = true;
        at_ = end_;
    }

    UInt64 at_;
    UInt64 end_;
    bool failed_ = false;
};

} // namespace QV::Impl
