/// The library's UTF-16 string: a shared, reference-counted buffer with copy-on-write.
///
///     UniString name("caf\xC3\xA9", UTF8CharCode);
///     UniString copy = name;        // shares the buffer
///     copy.Append(UniChar('!'));    // now it has one of its own
///     if (copy.GetPrefix(3) == "caf" && copy.FindFirst(u"\u00E9!") != UniString::Npos) …
///     const UniString line = name + ": " + copy.ToUpperCase();   // one allocation for the whole
///
/// Lengths, positions and counts are UTF-16 units, unsigned 32-bit; a count of 0xFFFFFFFF means: to the end.
/// The text is not zero-terminated; `ToUStr` and `ToCStr` make it so.
///
/// Threads: one at a time for a string; strings on different threads may share a buffer. Errors:
/// `NullPointerException`, `NullReferenceException`, `IllegalReferenceException` for a range outside the
/// string, `ConversionErrorException`, `OutOfMemoryException`; the string is then as it was. Reading and
/// writing return codes. Allocation: one buffer, small ones from a cache; none for copies of whole strings.
#pragma once

#include <QVRoot/ObjectModel/Object.hpp>
#include <QVRoot/String/UniChar.hpp>
#include <QVRoot/Threading/Atomic.hpp>

#include <concepts>
#include <string_view>
#include <type_traits>

namespace QV {

template <class T>
class Array;

namespace Impl {
class Occurrences;
}

class FormatArgument;
class ScanArgument;
class String;
namespace FormatSyntax {
template <class Unit>
class Format;
}
template <class Unit, class... Arguments>
class PrintFormat;
template <class Unit, class TextUnit, class... Arguments>
class ScanFormat;

/// A plain character, as in a literal.
template <class T>
concept CharacterType = std::same_as<T, char> || std::same_as<T, char16_t>;

class QV_EXPORT UniString : public Object {
public:
    class Concatenation;
    class ConstSubstring;
    class Substring;
    class CodePoints;
    class CStr;
    class UStr;
    class PStr;
    class UniCharRef;

    using CompareResult = UniChar::CompareResult;
    using CaseComparison = UniChar::CaseComparison;
    enum EmptyPartProcessing : int { KeepEmptyParts = 0, DropEmptyParts = 1 };

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
    explicit UniString(std::u8string_view text);
    UniString(const ConstSubstring& text);
    UniString(const Substring& text);
    /// Allocates once, for the whole text.
    UniString(const Concatenation& text);
    /// From the default code page; a string that is out of memory is empty.
    UniString(const String& text);
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
    UniString& operator=(const Concatenation& text);
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
    void Assign(std::u16string_view text) { UniString(text).Swap(*this); }
    void Assign(UniChar c);
    void Assign(const String& text);
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
    /// Positions are not checked. Iterators end with the next change of the string.
    /// @{
    UniChar operator[](unsigned int position) const noexcept { return buffer_->content[position]; }
    inline UniCharRef operator[](unsigned int position) noexcept;
    UniChar GetChar(unsigned int position) const noexcept { return buffer_->content[position]; }
    void SetChar(unsigned int position, UniChar c);
    const UniChar* begin() const& noexcept { return GetFirstUnit(); }
    const UniChar* end() const& noexcept { return GetFirstUnit() + GetLength(); }
    const UniChar* begin() const&& = delete;
    const UniChar* end() const&& = delete;
    /// For a loop over characters instead of units: `for (char32_t c : text.GetCodePoints())`.
    CodePoints GetCodePoints() const& noexcept;
    CodePoints GetCodePoints() const&& = delete;
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
    void Append(std::u16string_view text);

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
    UniString& operator+=(const char16_t* text)
    {
        Append(text);
        return *this;
    }
    UniString& operator+=(std::u16string_view text)
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

    /// @name Inserting and replacing a range
    /// Positions up to the length are legal. Sources may be the string itself or point into it.
    /// @{
    void Insert(unsigned int position, const UniString& source, unsigned int start = 0,
                unsigned int count = Npos);
    void Insert(unsigned int position, UniChar c);
    /// Puts the source in place of `count` units. A string that becomes shorter may give up idle capacity.
    void SetSubstring(unsigned int position, unsigned int count, const UniString& source,
                      unsigned int sourceStart = 0, unsigned int sourceCount = Npos);
    void SetSubstring(unsigned int position, unsigned int count, const char* text,
                      QVCharCode code = DefaultCharCode);
    void SetSubstring(unsigned int position, unsigned int count, const char* text, unsigned int byteCount,
                      QVCharCode code = DefaultCharCode);
    void SetSubstring(unsigned int position, unsigned int count, const unsigned char* text,
                      QVCharCode code = DefaultCharCode);
    void SetSubstring(unsigned int position, unsigned int count, const unsigned short* text);
    void SetSubstring(unsigned int position, unsigned int count, const unsigned short* text,
                      unsigned int textCount);
    void SetSubstring(unsigned int position, unsigned int count, const char16_t* text)
    {
        SetSubstring(position, count, AsUnits(text));
    }
    void SetSubstring(unsigned int position, unsigned int count, const char16_t* text, unsigned int textCount)
    {
        SetSubstring(position, count, AsUnits(text), textCount);
    }
    void SetSubstring(unsigned int position, unsigned int count, UniChar c);
    /// Extends to a length; never shortens.
    void Pad(unsigned int length, UniChar c);
    /// Overwrites a range.
    void Fill(UniChar c, unsigned int start = 0, unsigned int count = Npos);
    /// @}

    /// @name Deleting
    /// What searches for something looks at the range only and answers the position, or `Npos`.
    /// @{
    void Delete(unsigned int position);
    void Delete(unsigned int start, unsigned int count);
    void DeleteFirst();
    void DeleteLast();
    unsigned int DeleteFirst(const UniString& pattern, unsigned int start = 0, unsigned int count = Npos);
    unsigned int DeleteFirst(UniChar c, unsigned int start = 0, unsigned int count = Npos);
    unsigned int DeleteLast(const UniString& pattern);
    unsigned int DeleteLast(UniChar c);
    /// Answers how many occurrences were deleted. An empty pattern deletes nothing.
    unsigned int DeleteAll(const UniString& pattern, unsigned int start = 0, unsigned int count = Npos);
    unsigned int DeleteAll(UniChar c, unsigned int start = 0, unsigned int count = Npos);
    /// @}

    /// @name Replacing what is found
    /// `ReplaceAll` answers the number of occurrences, the others the position or `Npos`. An empty pattern
    /// occurs before every unit of the range and behind the last one.
    /// @{
    unsigned int ReplaceFirst(const UniString& pattern, const UniString& replacement, unsigned int start = 0,
                              unsigned int count = Npos);
    unsigned int ReplaceFirst(UniChar c, UniChar replacement, unsigned int start = 0,
                              unsigned int count = Npos);
    unsigned int ReplaceLast(const UniString& pattern, const UniString& replacement);
    unsigned int ReplaceLast(UniChar c, UniChar replacement);
    /// From two occurrences on, one new buffer of just the final length.
    unsigned int ReplaceAll(const UniString& pattern, const UniString& replacement, unsigned int start = 0,
                            unsigned int count = Npos);
    /// In place; the buffer becomes private even when nothing is found.
    unsigned int ReplaceAll(UniChar c, UniChar replacement, unsigned int start = 0,
                            unsigned int count = Npos);
    /// @}

    /// @name Searching
    /// Units are compared exactly. A range may reach beyond the string: what is not there is not searched.
    /// @{
    /// An empty pattern is found at `start`, wherever that is.
    unsigned int FindFirst(const UniString& pattern, unsigned int start = 0, unsigned int count = Npos) const;
    unsigned int FindFirst(UniChar c, unsigned int start = 0, unsigned int count = Npos) const noexcept;
    /// An empty pattern is found at the end.
    unsigned int FindLast(const UniString& pattern) const;
    unsigned int FindLast(UniChar c) const noexcept;
    /// Calls `function` with the position of each occurrence. They may overlap.
    template <class Function>
    void Find(const UniString& pattern, Function&& function) const
    {
        ForEachOccurrence(pattern, function);
    }
    template <class Function>
    void Find(UniChar c, Function&& function) const
    {
        ForEachOccurrence(c, function);
    }
    /// The first and last unit that is, or is not, one of the set's.
    unsigned int FindFirstIn(const UniString& set, unsigned int start = 0, unsigned int count = Npos) const;
    unsigned int FindFirstIn(const char* set, QVCharCode code = DefaultCharCode, unsigned int start = 0,
                             unsigned int count = Npos) const;
    unsigned int FindFirstNotIn(const UniString& set, unsigned int start = 0,
                                unsigned int count = Npos) const;
    unsigned int FindFirstNotIn(const char* set, QVCharCode code = DefaultCharCode, unsigned int start = 0,
                                unsigned int count = Npos) const;
    unsigned int FindLastIn(const UniString& set) const;
    unsigned int FindLastIn(const char* set, QVCharCode code = DefaultCharCode) const;
    unsigned int FindLastNotIn(const UniString& set) const;
    unsigned int FindLastNotIn(const char* set, QVCharCode code = DefaultCharCode) const;
    /// Every string contains, begins with and ends with the empty one.
    bool Contains(const UniString& pattern, unsigned int start = 0, unsigned int count = Npos) const;
    bool Contains(UniChar c, unsigned int start = 0, unsigned int count = Npos) const noexcept;
    bool BeginsWith(const UniString& pattern) const;
    bool BeginsWith(UniChar c) const noexcept;
    bool EndsWith(const UniString& pattern) const;
    bool EndsWith(UniChar c) const noexcept;
    /// Occurrences that do not overlap. An empty pattern occurs once more often than the range has units.
    unsigned int Count(const UniString& pattern, unsigned int start = 0, unsigned int count = Npos) const;
    unsigned int Count(UniChar c, unsigned int start = 0, unsigned int count = Npos) const noexcept;
    /// @}

    /// @name Views of a range
    /// Valid until the string is changed otherwise. Assigning to a `Substring` replaces its range.
    /// @{
    Substring operator()(unsigned int start, unsigned int count = Npos) &;
    ConstSubstring operator()(unsigned int start, unsigned int count = Npos) const&;
    Substring GetSubstring(unsigned int start, unsigned int count = Npos) &;
    ConstSubstring GetSubstring(unsigned int start, unsigned int count = Npos) const&;
    Substring GetPrefix(unsigned int count) &;
    ConstSubstring GetPrefix(unsigned int count) const&;
    Substring GetSuffix(unsigned int count) &;
    ConstSubstring GetSuffix(unsigned int count) const&;
    /// What stands between the first `opening` in the range and the next `closing`. Where one is missing, an
    /// empty view at the end of the range.
    Substring operator()(UniChar opening, UniChar closing, unsigned int start = 0,
                         unsigned int count = Npos) &;
    ConstSubstring operator()(UniChar opening, UniChar closing, unsigned int start = 0,
                              unsigned int count = Npos) const&;
    Substring GetSubstring(UniChar opening, UniChar closing, unsigned int start = 0,
                           unsigned int count = Npos) &;
    ConstSubstring GetSubstring(UniChar opening, UniChar closing, unsigned int start = 0,
                                unsigned int count = Npos) const&;
    /// So that two characters are not taken for two numbers.
    template <CharacterType Character>
    Substring operator()(Character opening, Character closing, unsigned int start = 0,
                         unsigned int count = Npos) &;
    template <CharacterType Character>
    ConstSubstring operator()(Character opening, Character closing, unsigned int start = 0,
                              unsigned int count = Npos) const&;
    template <CharacterType Character>
    Substring GetSubstring(Character opening, Character closing, unsigned int start = 0,
                           unsigned int count = Npos) &;
    template <CharacterType Character>
    ConstSubstring GetSubstring(Character opening, Character closing, unsigned int start = 0,
                                unsigned int count = Npos) const&;
    /// A view of a temporary would dangle.
    template <class... Arguments>
    void operator()(Arguments...) const&& = delete;
    template <class... Arguments>
    void GetSubstring(Arguments...) const&& = delete;
    void GetPrefix(unsigned int count) const&& = delete;
    void GetSuffix(unsigned int count) const&& = delete;
    /// @}

    /// @name Order in the user's locale
    /// `operator<` and its like go by `Compare` too; `==` compares units.
    /// @{
    CompareResult Compare(const UniString& other, CaseComparison rule = UniChar::CaseSensitive) const;
    bool IsEqual(const UniString& other, CaseComparison rule = UniChar::CaseSensitive) const;
    /// @}

    /// @name Case, width, normal forms
    /// Mapping a range may change its length, and always makes a new buffer.
    /// @{
    void SetToUpperCase(unsigned int start = 0, unsigned int count = Npos);
    void SetToLowerCase(unsigned int start = 0, unsigned int count = Npos);
    void SetToFullWidth(unsigned int start = 0, unsigned int count = Npos);
    void SetToHalfWidth(unsigned int start = 0, unsigned int count = Npos);
    UniString ToUpperCase(unsigned int start = 0, unsigned int count = Npos) const;
    UniString ToLowerCase(unsigned int start = 0, unsigned int count = Npos) const;
    /// Text that has no normal form, since it is no legal UTF-16, comes back unchanged.
    UniString ToComposed() const;
    UniString ToDecomposed() const;
    UniString ToCompatibilityComposed() const;
    UniString ToCompatibilityDecomposed() const;
    bool IsASCII() const noexcept;
    /// @}

    /// @name Trimming and splitting
    /// @{
    /// Without a character, what `UniChar::IsWhiteSpace` names.
    void TrimLeft();
    void TrimLeft(UniChar c);
    void TrimRight();
    void TrimRight(UniChar c);
    void Trim();
    void Trim(UniChar c);
    /// Puts the parts between the separators in place of what the array holds and answers how many there are.
    /// A separator at the end makes an empty last part; the empty string has one part, an empty separator
    /// makes none. Answers 0 for a null array.
    unsigned int Split(const UniString& separator, Array<UniString>* parts) const;
    /// The same with each unit of a set as separator. Unless empty parts are kept, they are left out.
    unsigned int Split(const UniString& separators, EmptyPartProcessing rule, Array<UniString>* parts) const;
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
    operator std::u16string_view() const& noexcept { return GetView(); }
    operator std::u16string_view() const&& = delete;
    /// @}

    /// Units compared exactly. For other kinds of text and for order see `UniStringComparison.hpp`.
    friend bool operator==(const UniString& a, const UniString& b) { return HaveEqualUnits(a, b); }

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

    /// @name Formatted text
    /// See UniStringFormat.hpp, which must be included.
    /// @{
    template <class... Arguments>
    static UniString Printf(PrintFormat<char, std::type_identity_t<Arguments>...> format,
                            const Arguments&... arguments);
    template <class... Arguments>
    static UniString Printf(PrintFormat<char16_t, std::type_identity_t<Arguments>...> format,
                            const Arguments&... arguments);
    template <class... Arguments>
    int Scanf(ScanFormat<char, char16_t, std::type_identity_t<Arguments>...> format,
              Arguments&&... arguments) const;
    template <class... Arguments>
    int Scanf(ScanFormat<char16_t, char16_t, std::type_identity_t<Arguments>...> format,
              Arguments&&... arguments) const;
    /// @}

private:
    template <class Unit, class... Arguments>
    static UniString PrintfFwd(const FormatSyntax::Format<Unit>& format, const Arguments&... arguments);
    static UniString CheckedPrintf(const char* format, const FormatArgument* arguments, UInt32 count,
                                   bool isChecked);
    static UniString CheckedPrintf(const unsigned short* format, const FormatArgument* arguments, UInt32 count,
                                   bool isChecked);
    int CheckedScanf(const char* format, const ScanArgument* arguments, UInt32 count, bool isChecked) const;
    int CheckedScanf(const unsigned short* format, const ScanArgument* arguments, UInt32 count,
                     bool isChecked) const;

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
    void AppendUnits(const unsigned short* units, UInt32 count);
    bool PointsInside(const void* pointer) const noexcept;
    static bool HaveEqualUnits(const UniString& a, const UniString& b);

    const UniChar* GetFirstUnit() const noexcept
    {
        return reinterpret_cast<const UniChar*>(buffer_ == nullptr ? nullptr : buffer_->content);
    }
    unsigned short* OpenGap(UInt32 start, UInt32 count, UInt32 newCount);
    void ReplaceUnits(UInt32 start, UInt32 count, const unsigned short* units, UInt32 newCount);
    UInt32 RemoveAll(Impl::Occurrences& occurrences, UInt32 start, UInt32 width);
    void InstallReplaced(Impl::Occurrences& occurrences, UInt32 number, UInt32 start, UInt32 width,
                         const UniString& replacement);
    UInt32 InsertEverywhere(const UniString& text, UInt32 start, UInt32 count);
    template <class Target>
    void MapRange(UInt32 start, UInt32 count, Target target,
                  unsigned int (*measure)(const unsigned short*, unsigned int, Target),
                  bool (*convert)(const unsigned short*, unsigned int, unsigned short*, unsigned int,
                                  Target));
    void GetEnclosed(UniChar opening, UniChar closing, UInt32& start, UInt32& count) const;
    template <class Pattern, class Function>
    void ForEachOccurrence(const Pattern& pattern, Function& function) const
    {
        for (UInt32 position = FindFirst(pattern); position != Npos;) {
            function(static_cast<unsigned int>(position));
            if (++position >= GetLength()) {
                return;
            }
            position = FindFirst(pattern, position);
        }
    }
    bool TryWriteImage(OChannel& oc) const noexcept;
    bool TryReadImage(IChannel& ic);
    QVErrCode ReadUnits(IChannel& ic, UInt32 length);
    QVErrCode ReadUnitsInto(IChannel& ic, UInt32 first, UInt32 end);

    SharedBuffer* buffer_;
};

static_assert(sizeof(UniString) == 16);

/// The empty string, usable before `main`.
QV_EXPORT extern const UniString& EmptyUniString;

/// A string or a view of one.
template <class T>
concept UnitText = std::derived_from<T, UniString> || std::same_as<T, UniString::Substring> ||
    std::same_as<T, UniString::ConstSubstring>;

} // namespace QV

#include <QVRoot/String/UniStringCharRef.hpp>
#include <QVRoot/String/UniStringCodePoints.hpp>
#include <QVRoot/String/UniStringResults.hpp>
#include <QVRoot/String/UniStringSubstring.hpp>

#include <QVRoot/String/UniStringComparison.hpp>
#include <QVRoot/String/UniStringConcatenation.hpp>
#include <QVRoot/String/UniStringLiterals.hpp>
#include <QVRoot/String/UniStringStream.hpp>
