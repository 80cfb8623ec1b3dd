/// How 8-bit text divides into characters, and what a single one of them is.
#pragma once

#include <QVRoot/String/CharCode.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>

namespace QV::Impl {

/// The bytes left behind a position are `left`; zero-terminated text may give `unlimited`.
constexpr USize unlimited = ~USize(0);

/// The code point of what is not legal.
constexpr UInt32 noCharacter = 0xFFFFFFFF;

/// No character has more bytes.
constexpr int maxCharBytes = 4;

/// A code page, looked up once for the time of a call.
class CharPage {
public:
    explicit CharPage(QVCharCode code) noexcept;

    /// The operating system's number; 0 is its own page. Not for UTF-8.
    UInt32 GetPage() const noexcept { return CHGetCodePage(code_); }
    bool IsUtf8() const noexcept { return form_ == Form::Utf8; }
    bool IsSingleByte() const noexcept { return form_ == Form::SingleByte; }

    /// Whether ASCII bytes are always characters of their own. False for double-byte pages, where they may be
    /// second bytes.
    bool IsAsciiAlone() const noexcept { return form_ != Form::DoubleByte; }

    /// Whether a byte is a character by itself, whatever follows.
    bool IsAlone(char byte) const noexcept;

    /// Bytes of the character at `text`; at least 1, also for a terminator. Nothing behind a terminator is
    /// read.
    int GetBytes(const char* text, USize left = unlimited) const noexcept;

    /// Where the last character before `end` begins; `text` when there is none.
    const char* GetLast(const char* text, const char* end) const noexcept;

    /// The longest run of whole characters in `left` bytes that `room` bytes can take. What stands behind the
    /// `left` bytes does not matter.
    USize Fit(const char* text, USize left, USize room) const noexcept;

    /// The code point of a character of the given bytes.
    UInt32 Decode(const char* text, int bytes) const noexcept;
    /// The bytes of a code point, exactly, or 0 when the page does not have it.
    int Encode(UInt32 codePoint, char* result) const noexcept;

    /// The counterpart of a character by `TextMapping::LowerCase` or `UpperCase`. Answers its bytes; the
    /// character itself when the page does not have it.
    int MapCase(TextMapping mapping, const char* text, int bytes, char* result) const noexcept;

    /// A number for a character, the same for its counterparts in other case by the mapping. Ascending with
    /// the bytes of the mapped character.
    UInt32 Fold(TextMapping mapping, const char* text, int bytes) const noexcept;

    /// As many characters of [text, end) as give at most `room` units, which is at least 2: moves `text`
    /// behind them and answers the units. What is not legal becomes U+FFFD.
    USize DecodeRun(const char*& text, const char* end, UInt16* units, USize room) const noexcept;

private:
    enum class Form : UInt8 { SingleByte, DoubleByte, Utf8 };

    bool IsLead(UInt8 byte) const noexcept;
    const char* GetLastOfUtf8(const char* text, const char* end) const noexcept;
    USize DecodeUtf8Run(const char*& text, const char* end, UInt16* units, USize room) const noexcept;
    int MapAnyCase(TextMapping mapping, const char* text, int bytes, char* result) const noexcept;

    Form form_;
    QVCharCode code_; ///< one that stands for itself
};

/// The same mapping for ASCII.
char MapAsciiCase(TextMapping mapping, char character) noexcept;

/// Whether a unit is a letter in Unicode, or a number that looks like one.
bool IsLetter(UInt16 unit) noexcept;

} // namespace QV::Impl
