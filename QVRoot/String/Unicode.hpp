/// UTF-8 to UTF-16 and back.
///
///     unsigned short units[64];
///     const int count = Unicode::UTF8ToUTF16(text, length, units, 64, true);
///     if (Unicode::ConversionError::HasError(count)) { ... }
///
/// Lengths are bytes for UTF-8 and units of 16 bits for UTF-16. A source length of -1 means that the source
/// ends at its first zero, which is then converted and counted as well. A destination length of 0 asks for
/// the count only, at the price of a scan, not of a conversion; every error but a full destination is found
/// then, too.
///
/// Strict conversion refuses what a well-formed text cannot hold; lenient conversion lets unpaired surrogates
/// through and puts U+FFFD in place of code points that are too large. Two rules differ from what one might
/// expect: U+10FFFF counts as too large when it comes from UTF-8, and in lenient conversion to UTF-8 an
/// unpaired high surrogate swallows the unit behind it (though never the terminator).
///
/// Threads: all functions may be called from any thread, also before `main`. Errors: results below 0, never
/// an exception; the destination's contents are unspecified then. After success nothing behind the result has
/// been written. Allocation: none, except in `ConvertUTF8ToUTF16`.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Unicode {

/// What a conversion answers instead of a count.
class QV_EXPORT ConversionError {
public:
    enum {
        DestinationTooSmall = -1, ///< also when the count does not fit an int
        IllegalSequence = -2,     ///< or, in strict conversion, a code point that is not allowed
        SourceExhausted = -3,     ///< the source ends inside a sequence
    };

    /// True for everything but a positive count: 0, the answer to an empty source, counts as an error.
    static bool HasError(int result) noexcept;
    static bool IsSuccessful(int result) noexcept;
};

/// Answers the units produced, 0 for an empty source, or a `ConversionError`. The first sequence in trouble
/// decides which. A null source and lengths below -1 are taken as empty; a destination that is null or of
/// negative length has no room. Sequences that are not legal UTF-8 are reported to `ErrorReporting`, at most
/// 20 times per process.
QV_EXPORT int UTF8ToUTF16(const char* source, int sourceLength, unsigned short* destination,
                          int destinationLength, bool strict) noexcept;

/// Answers the bytes produced, under the same rules. A lone low surrogate is encoded as it stands even in
/// strict conversion. Nothing is reported.
QV_EXPORT int UTF16ToUTF8(const unsigned short* source, int sourceLength, char* destination,
                          int destinationLength, bool strict) noexcept;

/// Whether `length` bytes (1 to 4) form one legal sequence. Encoded surrogates are legal here; `UTF8ToUTF16`
/// judges them as code points.
QV_EXPORT bool IsLegalUTF8(const char* sequence, int length) noexcept;

/// The same conversions by the operating system's service (on Linux: by ICU), under its rules: strict refuses
/// every malformed sequence (-2), a source that ends inside a sequence included; lenient puts U+FFFD in place
/// of each. U+10FFFF is an ordinary code point here, and nothing is reported.
QV_EXPORT int OS_UTF8ToUTF16(const char* source, int sourceLength, unsigned short* destination,
                             int destinationLength, bool strict) noexcept;
QV_EXPORT int OS_UTF16ToUTF8(const unsigned short* source, int sourceLength, char* destination,
                             int destinationLength, bool strict) noexcept;

/// A UTF-8 text as zero-terminated UTF-16 for the time of a call:
///
///     Open(Unicode::ConvertUTF8ToUTF16(path, -1));
///
/// Texts below 260 units need no memory block.
class QV_EXPORT ConvertUTF8ToUTF16 {
public:
    /// Converts strictly; throws `QVException` where that fails, `OutOfMemoryException` without memory. A
    /// null source gives a null result. `length` -1 means zero-terminated.
    ConvertUTF8ToUTF16(const char* source, int length);
    ~ConvertUTF8ToUTF16();
    ConvertUTF8ToUTF16(const ConvertUTF8ToUTF16&) = delete;
    ConvertUTF8ToUTF16& operator=(const ConvertUTF8ToUTF16&) = delete;

    /// The result, valid as long as this object.
    operator const unsigned short*() const noexcept { return result_; }

private:
    static constexpr Int32 inlineUnits = 260;

    unsigned short inline_[inlineUnits];
    Int32 capacity_ = inlineUnits;
    unsigned short* result_ = nullptr;
    Int32 length_ = 0;

    void Reserve(Int64 units);
    void Convert(const char* source, Int32 length);
    void FreeBlock() noexcept;
};

} // namespace QV::Unicode
