/// The older 8-bit string: a growable buffer of bytes that is not shared and reports lack of memory by a
/// status instead of an exception.
///
///     String name("oak");
///     if (name.Append(" tree") != NoError) …
///     Open(name.ToCStr());
///
/// Text is taken to be in the default code page. Lengths, positions and counts are bytes, unsigned 32-bit; a
/// count of 0xFFFFFFFF means: to the end. The bytes are not zero-terminated; `ToCStr` makes them so.
///
/// Threads: one at a time, for reading too, since `ToCStr`, `ToPStr` and what rests on them (`Compare`, `<`,
/// `Print`) write behind the text. Errors: when memory runs out the string becomes empty and unusable, which
/// `GetStatus` tells until a growth succeeds; appending refuses until then, `SetLength`, assignment and
/// `Clear` recover. Null pointers throw `NullPointerException`, ranges outside the string
/// `IllegalReferenceException`. Allocation: one buffer, doubling.
#pragma once

#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/String/UniChar.hpp>

#include <string_view>
#include <type_traits>

namespace QV {

class FormatArgument;
template <class Unit, class... Arguments>
class PrintFormat;

class QV_EXPORT String : public Object {
public:
    using CompareResult = UniChar::CompareResult;
    using CaseComparison = UniChar::CaseComparison;

    enum OwnershipType : int {
        KeepOwnership = 0, ///< the buffer stays the caller's
        TakeOwnership = 1, ///< the string frees it with `MemoryManager::Free`
    };

    /// As a count: to the end.
    static constexpr unsigned int Npos = 0xFFFFFFFF;

    /// @name Construction and assignment
    /// `const unsigned char*` is a Pascal string: the length, then the bytes.
    /// @{
    String() noexcept = default;
    String(const char* text);
    String(const char* text, unsigned int length);
    String(const unsigned char* pascalText);
    String(const String& other);
    String(String&& other) noexcept { Swap(other); }
    /// Works in a buffer of the caller's, with length 0, until it outgrows it.
    String(char* buffer, unsigned int capacity, OwnershipType ownership) noexcept;
    ~String() override;

    String& operator=(const String& other);
    String& operator=(String&& other) noexcept
    {
        Swap(other);
        return *this;
    }
    String& operator=(const char* text);
    String& operator=(const unsigned char* pascalText);
    QVErrCode Assign(const char* text, unsigned int length);
    void Swap(String& other) noexcept;
    /// @}

    /// @name Length and status
    /// @{
    unsigned int GetLength() const noexcept { return length_; }
    unsigned int GetCapacity() const noexcept { return capacity_; }
    bool IsEmpty() const noexcept { return length_ == 0; }
    /// New bytes are not initialised.
    QVErrCode SetLength(unsigned int length);
    /// Keeps the buffer.
    void Clear() noexcept;
    /// `ErrMemoryFull` after a failed growth.
    QVErrCode GetStatus() const noexcept { return isOutOfMemory_ ? ErrMemoryFull : NoError; }
    bool CheckState() const override;
    /// @}

    /// @name Bytes
    /// Positions are not checked.
    /// @{
    char operator[](unsigned int position) const noexcept { return buffer_[position]; }
    char& operator[](unsigned int position) noexcept { return buffer_[position]; }
    /// 0 for an empty string.
    char GetLast() const noexcept { return length_ == 0 ? '\0' : buffer_[length_ - 1]; }
    /// Valid until the string is changed or destroyed.
    std::string_view GetView() const& noexcept { return {buffer_, length_}; }
    std::string_view GetView() const&& = delete;
    /// @}

    /// @name Editing
    /// An argument may be the string itself or point into it. The codes are 0 or `ErrMemoryFull`.
    /// @{
    QVErrCode Append(char c)
    {
        if (length_ < capacity_) [[likely]] { // out of memory, there is no capacity
            buffer_[length_++] = c;
            return NoError;
        }
        return AppendBytes(&c, 1);
    }
    QVErrCode Append(const String& text) { return AppendBytes(text.buffer_, text.length_); }
    QVErrCode Append(const char* text);
    QVErrCode Append(const char* text, unsigned int length);

    String& operator+=(char c)
    {
        Append(c);
        return *this;
    }
    String& operator+=(const String& text)
    {
        Append(text);
        return *this;
    }
    String& operator+=(const char* text)
    {
        Append(text);
        return *this;
    }

    /// Appends the byte up to the given length; never shortens.
    QVErrCode Pad(unsigned int length, char c);
    /// Overwrites a range.
    void Fill(char c, unsigned int start = 0, unsigned int count = Npos);
    /// Removes one byte.
    void Delete(unsigned int position);
    /// Replaces the text by formatted text; include StringFormat.hpp. Arguments may
    /// refer to the string itself.
    template <class... Arguments>
    QVErrCode Format(PrintFormat<char, std::type_identity_t<Arguments>...> format,
                     const Arguments&... arguments);
    /// @}

    /// @name Parts
    /// @{
    String GetPrefix(unsigned int length) const { return GetSubstring(0, length); }
    String GetSuffix(unsigned int length) const;
    String GetSubstring(unsigned int start, unsigned int count = Npos) const;
    String operator()(unsigned int start, unsigned int count = Npos) const
    {
        return GetSubstring(start, count);
    }
    /// @}

    /// @name Comparison
    /// A string that is out of memory equals nothing, itself included, and is less than every healthy one.
    /// @{
    friend bool operator==(const String& a, const String& b) noexcept
    {
        return !a.isOutOfMemory_ && !b.isOutOfMemory_ && a.GetView() == b.GetView();
    }
    friend QV_EXPORT bool operator==(const String& a, const char* b);
    /// In the user's locale, case-sensitively.
    friend QV_EXPORT bool operator<(const String& a, const String& b);
    /// In the user's locale. A rule that is neither of the two answers `Equal`.
    CompareResult Compare(const String& other, CaseComparison rule) const;
    bool IsEqual(const String& other, CaseComparison rule) const
    {
        return Compare(other, rule) == UniChar::Equal;
    }
    /// Bytes compared exactly.
    bool BeginsWith(const String& text) const noexcept { return GetView().starts_with(text.GetView()); }
    bool BeginsWith(const char* text) const;
    bool BeginsWith(char c) const noexcept { return length_ != 0 && *buffer_ == c; }
    bool EndsWith(const String& text) const noexcept { return GetView().ends_with(text.GetView()); }
    bool EndsWith(const char* text) const;
    bool EndsWith(char c) const noexcept { return length_ != 0 && GetLast() == c; }
    /// Uses every byte, in 32-bit arithmetic.
    UInt32 GenerateHashValue() const noexcept;
    /// @}

    /// @name Case
    /// Letters of the default code page, each mapped to one; where the text is illegal in it, those of ASCII.
    /// @{
    void SetToLowerCase() { MapCase(UniChar::LowerCase); }
    void SetToUpperCase() { MapCase(UniChar::UpperCase); }
    String ToLowerCase() const;
    String ToUpperCase() const;
    /// @}

    /// @name Conversions out
    /// Both write behind the text in the string's own buffer: each ends the other's result, as does every
    /// change of the string. Without memory they answer the empty text, and the string has lost its own.
    /// @{
    const char* ToCStr() const;
    /// At most 255 bytes behind a length byte; a longer text is cut.
    const unsigned char* ToPStr() const;
    /// @}

    /// @name Persistence
    /// A frame of version 3.0, a marker, the length as `UInt32`, then the bytes. All versions are read.
    /// @{
    static const ClassInfo& GetStaticClassInfo() noexcept;
    const ClassInfo* GetClassInfo() const override;
    String* Clone() const override;
    /// On failure the string is empty.
    QVErrCode Read(IChannel& ic) override;
    /// A string that is out of memory writes the frame alone, which cannot be read back.
    QVErrCode Write(OChannel& oc) const override;
    /// The text as it stands.
    void Print(OChannel& oc) const override;
    /// @}

private:
    friend class StringTestAccess;

    bool Init(unsigned int length) noexcept;
    bool EnsureCapacity(UInt64 capacity) noexcept;
    void OutOfMemory() noexcept;
    QVErrCode AppendBytes(const char* text, UInt32 length) noexcept;
    QVErrCode AssignBytes(const char* text, UInt32 length) noexcept;
    unsigned int CheckRange(unsigned int start, unsigned int count) const;
    void MapCase(UniChar::Case target);
    QVErrCode FormatInto(const char* format, const FormatArgument* arguments, UInt32 count, bool isChecked);

    QVErrCode WriteContent(OChannel& oc, UInt8 version) const;
    QVErrCode ReadContent(IChannel& ic, UInt8 version);
    QVErrCode ReadBytes(IChannel& ic, UInt32 length);
    QVErrCode ConvertFromLegacy();

    // What the conversions out write behind the text is no change of the string.
    mutable char* buffer_ = nullptr;
    mutable UInt32 capacity_ = 0;
    mutable UInt32 length_ = 0;
    mutable bool isOwned_ = false;
    mutable bool isOutOfMemory_ = false;
};

static_assert(sizeof(String) == 32);

QV_EXPORT String operator+(const String& a, const String& b);
QV_EXPORT String operator+(const String& a, const char* b);
QV_EXPORT String operator+(const char* a, const String& b);

} // namespace QV
