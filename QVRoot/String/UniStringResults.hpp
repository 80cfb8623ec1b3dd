/// What the conversions of a string answer: texts that end with a zero or begin with their length.
#pragma once

#include <QVRoot/String/UniString.hpp>

namespace QV {

/// A zero-terminated 8-bit text, inline up to 255 bytes.
class QV_EXPORT UniString::CStr {
public:
    /// Room for a text of the given length.
    explicit CStr(unsigned int length);
    /// Moves: a block is taken over, inline text copied.
    CStr(CStr& other) noexcept;
    CStr(CStr&& other) noexcept : CStr(other) {}
    CStr& operator=(const CStr&) = delete;
    ~CStr();

    operator const char*() const& noexcept { return text_; }
    operator const char*() const&& noexcept { return text_; }
    const char* GetText() const noexcept { return text_; }
    char* GetText() noexcept { return text_; }
    std::string_view GetView() const& noexcept { return {text_, length_}; }
    std::string_view GetView() const&& = delete;
    /// For text that was converted to UTF-8.
    std::u8string_view GetUTF8View() const& noexcept
    {
        return {reinterpret_cast<const char8_t*>(text_), length_};
    }
    std::u8string_view GetUTF8View() const&& = delete;
    /// Bytes without the terminator.
    unsigned int GetLength() const noexcept { return length_; }

private:
    friend class UniString;

    char* text_;
    unsigned int length_;
    char inline_[256];
};

/// A zero-terminated UTF-16 text, in a block of its own or in the string's buffer.
class QV_EXPORT UniString::UStr {
public:
    UStr(unsigned short* text, bool owned) noexcept : text_(text), owned_(owned) {}
    /// Moves.
    UStr(UStr& other) noexcept : text_(other.text_), owned_(other.owned_)
    {
        other.text_ = nullptr;
        other.owned_ = false;
    }
    UStr(UStr&& other) noexcept : UStr(other) {}
    UStr& operator=(const UStr&) = delete;
    ~UStr();

    operator const unsigned short*() const noexcept { return text_; }
    const unsigned short* GetText() const noexcept { return text_; }
    bool IsOwned() const noexcept { return owned_; }

private:
    unsigned short* text_;
    bool owned_;
};

/// A length byte and up to 255 bytes of text.
class QV_EXPORT UniString::PStr {
public:
    operator const unsigned char*() const noexcept { return text_; }
    unsigned int GetLength() const noexcept { return text_[0]; }

private:
    friend class UniString;

    unsigned char text_[256] = {};
};

} // namespace QV
