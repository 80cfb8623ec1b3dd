/// The library's UTF-16 string: a shared, reference-counted buffer with copy-on-write.
///
///     UniString name("caf\xC3\xA9", UTF8CharCode);
///     UniString copy = name;        // shares the buffer
///     copy.Append(UniChar('!'));    // now it has one of its own
///
/// Lengths, positions and counts are UTF-16 units, unsigned 32-bit; a count of 0xFFFFFFFF means: to the end.
/// The text is not zero-terminated; `ToUStr` and `ToCStr` make it so.
///
/// Threads: one at a time for a string; strings on different threads may share a buffer. Errors:
/// `NullPointerException`, `NullReferenceException`, `IllegalReferenceException` for a range outside the
/// string, `ConversionErrorException`, `OutOfMemoryException`; the string is then as it was. Reading and
/// writing return codes. Allocation: one buffer; small ones come from a cache. A copy of a whole string
/// allocates nothing.
#pragma once

#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/String/UniChar.hpp>
#include <QVRoot/Threading/Atomic.hpp>

#include <string_view>

namespace QV {

class QV_EXPORT UniString : public Object {
public:
    class CStr;
    class UStr;
    class PStr;
    class UniCharRef;

    using CompareResult = UniChar::CompareResult;
    using CaseComparison = UniChar::CaseComparison;

    /// As a count: to the end. As a position: not found.
    static constexpr unsigned int Npos = 0xFFFFFFFF;

    /// @name Construction
    /// 8-bit text is converted from its code page; where it is illegal there, the string is empty.
    /// @{
    UniString() noexcept;
    UniString(const UniString& other) noexcept;
    /// A range; a whole range shares the buffer.
    UniString(const UniString& source, unsigned int start, unsigned int count = Npos);
    /// The source may only be destroyed or assigned to afterwards.
    UniString(UniString&& other) noexcept : buffer_(other.buffer_) { other.buffer_ = nullptr; }
    UniString(const char* text, QVCharCode code = DefaultCharCode);
    UniString(const unsigned char* text, QVCharCode code = DefaultCharCode);
    UniString(const char* text, unsigned int byteCount, QVCharCode code = DefaultCharCode);
    UniString(const unsigned short* text);
    UniString(const unsigned short* text, unsigned int count);
    UniString(const char16_t* text);
    UniString(const char16_t* text, unsigned int count);
    explicit UniString(std::u16string_view text);
    ~UniString() override;
    /// @}

    /// @name Assignment
    /// @{
    UniString& operator=(const UniString& source);
    UniString& operator=(UniString&& other) noexcept
    {
        Swap(other);
        return *this;
    }
    void Swap(UniString& other) noexcept
    {
        SharedBuffer* const buffer = buffer_;
        buffer_ = other.buffer_;
        other.buffer_ = buffer;
    }
    void Assign(const UniString& source, unsigned int start = 0, unsigned int count = Npos);
    void Assign(const char* text, QVCharCode code = DefaultCharCode);
    void Assign(const char* text, unsigned int byteCount, QVCharCode code = DefaultCharCode);
    void Assign(const unsigned char* text, QVCharCode code = DefaultCharCode);
    void Assign(const unsigned short* text);
    void Assign(const unsigned short* text, unsigned int count);
    void Assign(const char16_t* text) { Assign(AsUnits(text)); }
    void Assign(const char16_t* text, unsigned int count) { Assign(AsUnits(text), count); }
    void Assign(UniChar c);
    /// @}

    /// @name Length and capacity
    /// @{
    unsigned int GetLength() const noexcept { return buffer_ == nullptr ? 0 : buffer_->length; }
    bool IsEmpty() const noexcept { return GetLength() == 0; }
    unsigned int GetCapacity() const noexcept { return buffer_ == nullptr ? 0 : buffer_->capacity; }
    /// New units are not initialised.
    void SetLength(unsigned int length);
    void SetLength(unsigned int length, UniChar fill);
    /// Raised to the length where it is below it. A larger capacity may shrink only from 34 units on and to
    /// at most half.
    void SetCapacity(unsigned int capacity);
    /// Gives the buffer up.
    void Clear() noexcept;
    /// Keeps the capacity.
    void ClearContent();
    /// Shortens to a length; does nothing when the string is not longer.
    void Truncate(unsigned int length);
    /// Whether the buffer's invariants hold: also false after a move and for an emptied buffer that was kept.
    bool CheckState() const override;
    /// @}

    /// @name Units
    /// Positions are not checked.
    /// @{
    UniChar operator[](unsigned int position) const noexcept { return buffer_->content[position]; }
    inline UniCharRef operator[](unsigned int position) noexcept;
    UniChar GetChar(unsigned int position) const noexcept { return buffer_->content[position]; }
    void SetChar(unsigned int position, UniChar c);
    /// @}

    /// @name Appending
    /// An argument may be the string itself or point into it.
    /// @{
    void Append(UniChar c)
    {
        SharedBuffer* const buffer = buffer_;
        if (buffer != nullptr && buffer->refCounter.Get() == 1) [[likely]] {
            const UInt32 length = buffer->length;
            if (length < buffer->capacity) [[likely]] {
                buffer->content[length] = c;
                buffer->length = length + 1;
                return;
            }
        }
        AppendToNewBuffer(c);
    }
    void Append(const UniString& source, unsigned int start = 0, unsigned int count = Npos);
    void Append(const char* text, QVCharCode code = DefaultCharCode);
    void Append(const char* text, unsigned int byteCount, QVCharCode code = DefaultCharCode);
    void Append(const unsigned char* text, QVCharCode code = DefaultCharCode);
    void Append(const unsigned short* text);
    void Append(const unsigned short* text, unsigned int count);
    void Append(const char16_t* text) { Append(AsUnits(text)); }
    void Append(const char16_t* text, unsigned int count) { Append(AsUnits(text), count); }

    UniString& operator+=(const UniString& source)
    {
        Append(source);
        return *this;
    }
    UniString& operator+=(const char* text)
    {
        Append(text);
        return *this;
    }
    UniString& operator+=(const unsigned char* text)
    {
        Append(text);
        return *this;
    }
    UniString& operator+=(const unsigned short* text)
    {
        Append(text);
        return *this;
    }
    UniString& operator+=(UniChar c)
    {
        Append(c);
        return *this;
    }
    /// @}

    /// @name Conversions out
    /// The results live on their own, but a `UStr` may point into the string's buffer: then it is valid until
    /// the string is changed or destroyed.
    /// @{
    CStr ToCStr(unsigned int start = 0, unsigned int count = Npos, QVCharCode code = DefaultCharCode,
                OnConversionError rule = ConvertLossy) const;
    UStr ToUStr(unsigned int start = 0, unsigned int count = Npos) const;
    /// At most 255 bytes; a longer text is cut.
    PStr ToPStr(unsigned int start = 0, unsigned int count = Npos, QVCharCode code = DefaultCharCode,
                OnConversionError rule = ConvertLossy) const;
    /// A zero-terminated copy that the caller releases with `MemoryManager::Free`.
    unsigned short* CopyUStr(unsigned int start = 0, unsigned int count = Npos) const;
    char* CopyUTF8(unsigned int start = 0, unsigned int count = Npos,
                   OnConversionError rule = ConvertLossy) const;
    /// The units, valid until the string is changed or destroyed.
    std::u16string_view GetView() const& noexcept
    {
        return {reinterpret_cast<const char16_t*>(buffer_ == nullptr ? nullptr : buffer_->content),
                GetLength()};
    }
    std::u16string_view GetView() const&& = delete;
    /// @}

    /// Units compared exactly; for order in the user's locale see `UniChar::Compare`.
    friend bool operator==(const UniString& a, const UniString& b) noexcept { return a.HasEqualUnits(b); }

    /// Takes about 16 units spread over a long string, so its cost does not grow with the length.
    UInt32 GenerateHashValue() const noexcept;

    /// @name Persistence
    /// A frame, the length as `UInt32`, then the units as `UInt16`.
    /// @{
    static const ClassInfo& GetStaticClassInfo() noexcept;
    const ClassInfo* GetClassInfo() const override;
    UniString* Clone() const override;
    /// On failure the string is empty.
    QVErrCode Read(IChannel& ic) override;
    QVErrCode Write(OChannel& oc) const override;
    /// The text, in the default code page.
    void Print(OChannel& oc) const override;
    /// Length, capacity, sharers and text.
    void Dump(OChannel& oc) const override;
    /// @}

private:
    friend class UniStringTestAccess;
    template <unsigned int>
    friend struct StaticUniString;
    friend union EmptyUniStringHolder;

    struct SharedBuffer {
        UInt32 length;           ///< units in use
        UInt32 capacity;         ///< units that the content can hold
        TSRefCounter refCounter; ///< strings that share the buffer
        UInt16 reserved;         ///< never read or written
        unsigned short content[1];
    };
    static constexpr UInt32 HeaderSize = 14;

    static constexpr UInt32 CapacityToBufferSize(UInt32 capacity) noexcept { return (capacity - 1) * 2 + 16; }
    static constexpr UInt32 BufferSizeToCapacity(UInt32 size) noexcept { return ((size - 16) >> 1) + 1; }

    /// Takes over one count of the buffer.
    constexpr explicit UniString(SharedBuffer* buffer) noexcept : buffer_(buffer) {}

    static const unsigned short* AsUnits(const char16_t* text) noexcept
    {
        return reinterpret_cast<const unsigned short*>(text);
    }

    static SharedBuffer* EmptyBuffer() noexcept;
    static SharedBuffer* ShareEmptyBuffer() noexcept;
    static SharedBuffer* ShareBuffer(SharedBuffer* buffer) noexcept;
    static SharedBuffer* AllocateBuffer(UInt32 count);
    static SharedBuffer* CopyBuffer(const SharedBuffer* source, UInt32 request);
    static void FreeBuffer(SharedBuffer* buffer) noexcept;
    static void ReleaseBuffer(SharedBuffer* buffer) noexcept;
    void SetBuffer(SharedBuffer* buffer) noexcept;

    bool IsShared() const noexcept { return buffer_->refCounter.Get() >= 2; }
    void MakeUsable() noexcept;
    void Reallocate(UInt32 count);
    void IncreaseCapacity(UInt64 count);
    void DecreaseCapacity(UInt32 count);
    void AdjustCapacity(UInt32 count);
    void AboutToModify(UInt32 count);
    void AboutToInsert(UInt32 count);
    void AboutToDelete();

    UInt32 CheckRange(UInt32 start, UInt32 count) const;
    void Set(const char* text, UInt32 unitCount, UInt32 byteCount, QVCharCode code);
    void AppendConverted(const char* text, UInt32 byteCount, QVCharCode code);
    void AppendToNewBuffer(UniChar c);
    bool PointsInside(const unsigned short* text) const noexcept;
    bool HasEqualUnits(const UniString& other) const noexcept;
    bool TryWriteImage(OChannel& oc) const noexcept;
    bool TryReadImage(IChannel& ic);
    QVErrCode ReadUnits(IChannel& ic, UInt32 length);
    QVErrCode ReadUnitsInto(IChannel& ic, UInt32 first, UInt32 end);

    SharedBuffer* buffer_;
};

static_assert(sizeof(UniString) == 16);

/// The empty string, usable before `main`.
QV_EXPORT extern const UniString& EmptyUniString;

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

/// A writable unit of a string. Writing first makes the buffer private.
class UniString::UniCharRef {
public:
    UniCharRef(UniString& string, unsigned int position) noexcept : string_(&string), position_(position) {}
    UniCharRef(const UniCharRef&) = default;

    UniCharRef& operator=(UniChar c)
    {
        string_->SetChar(position_, c);
        return *this;
    }
    UniCharRef& operator=(unsigned short unit) { return *this = UniChar(unit); }
    UniCharRef& operator=(char16_t unit) { return *this = UniChar(unit); }
    UniCharRef& operator=(char c) { return *this = UniChar(c); }
    UniCharRef& operator=(unsigned char c) { return *this = UniChar(c); }
    UniCharRef& operator=(const UniCharRef& other) { return *this = other.GetChar(); }

    UniChar GetChar() const noexcept { return string_->GetChar(position_); }
    operator UniChar() const noexcept { return GetChar(); }
    operator unsigned short() const noexcept { return GetChar(); }
    operator char() const { return static_cast<char>(GetChar()); }
    operator unsigned char() const { return static_cast<unsigned char>(GetChar()); }

    friend bool operator==(const UniCharRef& a, UniChar b) noexcept { return a.GetChar() == b; }
    friend bool operator==(const UniCharRef& a, const UniCharRef& b) noexcept
    {
        return a.GetChar() == b.GetChar();
    }

    bool IsASCII() const noexcept { return GetChar().IsASCII(); }
    bool IsASCIIDigit() const noexcept { return GetChar().IsASCIIDigit(); }
    bool IsASCIIHexaDigit() const noexcept { return GetChar().IsASCIIHexaDigit(); }
    bool IsASCIILower() const noexcept { return GetChar().IsASCIILower(); }
    bool IsASCIIUpper() const noexcept { return GetChar().IsASCIIUpper(); }
    int GetASCIIDigitValue() const noexcept { return GetChar().GetASCIIDigitValue(); }
    int GetASCIIHexaDigitValue() const noexcept { return GetChar().GetASCIIHexaDigitValue(); }
    bool IsAlpha() const { return GetChar().IsAlpha(); }
    bool IsAlphaNumeric() const { return GetChar().IsAlphaNumeric(); }
    bool IsControl() const { return GetChar().IsControl(); }
    bool IsDigit() const { return GetChar().IsDigit(); }
    bool IsLower() const { return GetChar().IsLower(); }
    bool IsPunctuation() const { return GetChar().IsPunctuation(); }
    bool IsUpper() const { return GetChar().IsUpper(); }
    bool IsWhiteSpace() const { return GetChar().IsWhiteSpace(); }

private:
    UniString* string_;
    unsigned int position_;
};

inline UniString::UniCharRef UniString::operator[](unsigned int position) noexcept
{
    return UniCharRef(*this, position);
}

} // namespace QV
