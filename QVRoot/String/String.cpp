#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/CharText.hpp>
#include <QVRoot/String/String.hpp>

#include <algorithm>
#include <cstring>
#include <utility>

namespace QV {

namespace {

char* AllocateBytes(USize size) noexcept
{
    return static_cast<char*>(MemoryManager::Allocate(size, MemoryManager::ReturnNullOnFailure, true));
}

void CopyBytes(char* to, const char* from, USize count) noexcept
{
    if (count != 0) {
        std::memmove(to, from, count);
    }
}

template <class Char>
const Char* RequireText(const Char* text)
{
    if (text == nullptr) {
        QV_THROW(NullPointerException, "String: text is null");
    }
    return text;
}

/// The length of zero-terminated text; what does not fit 32 bits is refused as a length always is.
UInt32 TerminatedLength(const char* text)
{
    return static_cast<UInt32>(std::min<USize>(std::strlen(RequireText(text)), 0xFFFFFFFF));
}

} // namespace

String::String(const char* text) : String(text, TerminatedLength(text)) {}

String::String(const char* text, unsigned int length)
{
    RequireText(text);
    if (Init(length)) {
        CopyBytes(buffer_, text, length);
    }
}

String::String(const unsigned char* pascalText)
    : String(reinterpret_cast<const char*>(RequireText(pascalText) + 1), *pascalText)
{
}

String::String(const String& other) : Object(other)
{
    if (Init(other.length_)) {
        CopyBytes(buffer_, other.buffer_, other.length_);
    }
}

String::String(char* buffer, unsigned int capacity, OwnershipType ownership) noexcept
    : buffer_(buffer), capacity_(buffer == nullptr ? 0 : capacity),
      isOwned_(ownership == TakeOwnership && buffer != nullptr)
{
}

String::~String()
{
    if (isOwned_) {
        MemoryManager::Free(buffer_);
    }
}

String& String::operator=(const String& other)
{
    if (this != &other) {
        AssignBytes(other.buffer_, other.length_);
    }
    return *this;
}

String& String::operator=(const char* text)
{
    AssignBytes(text, TerminatedLength(text));
    return *this;
}

String& String::operator=(const unsigned char* pascalText)
{
    AssignBytes(reinterpret_cast<const char*>(RequireText(pascalText) + 1), *pascalText);
    return *this;
}

QVErrCode String::Assign(const char* text, unsigned int length)
{
    return AssignBytes(RequireText(text), length);
}

void String::Swap(String& other) noexcept
{
    std::swap(buffer_, other.buffer_);
    std::swap(capacity_, other.capacity_);
    std::swap(length_, other.length_);
    std::swap(isOwned_, other.isOwned_);
    std::swap(isOutOfMemory_, other.isOutOfMemory_);
}

/// Makes the buffer of a string that has none, with a byte to spare.
bool String::Init(unsigned int length) noexcept
{
    isOutOfMemory_ = false;
    if (length == 0) {
        return true;
    }
    const USize capacity = USize{length} + 1;
    buffer_ = capacity > 0xFFFFFFFF ? nullptr : AllocateBytes(capacity);
    if (buffer_ == nullptr) {
        OutOfMemory();
        return false;
    }
    capacity_ = static_cast<UInt32>(capacity);
    length_ = length;
    isOwned_ = true;
    return true;
}

bool String::EnsureCapacity(UInt64 capacity) noexcept
{
    isOutOfMemory_ = false;
    if (capacity_ >= capacity) {
        return true;
    }
    const UInt64 grown =
        std::max<UInt64>({capacity + 1, 16, std::min(UInt64{capacity_} * 2, UInt64{0xFFFFFFFF})});
    char* const buffer = grown > 0xFFFFFFFF ? nullptr : AllocateBytes(grown);
    if (buffer == nullptr) {
        OutOfMemory();
        return false;
    }
    CopyBytes(buffer, buffer_, length_);
    if (isOwned_) {
        MemoryManager::Free(buffer_);
    }
    buffer_ = buffer;
    capacity_ = static_cast<UInt32>(grown);
    isOwned_ = true;
    return true;
}

void String::OutOfMemory() noexcept
{
    if (isOwned_) {
        MemoryManager::Free(buffer_);
    }
    buffer_ = nullptr;
    capacity_ = 0;
    length_ = 0;
    isOwned_ = false;
    isOutOfMemory_ = true;
}

/// The text may lie in this string's buffer.
QVErrCode String::AssignBytes(const char* text, UInt32 length) noexcept
{
    if (length <= capacity_) {
        isOutOfMemory_ = false;
        CopyBytes(buffer_, text, length);
        length_ = length;
        return NoError;
    }
    // Longer than the buffer, so it lies elsewhere.
    length_ = 0;
    if (!EnsureCapacity(length)) {
        return ErrMemoryFull;
    }
    CopyBytes(buffer_, text, length);
    length_ = length;
    return NoError;
}

QVErrCode String::AppendBytes(const char* text, UInt32 length) noexcept
{
    if (isOutOfMemory_) {
        return ErrMemoryFull;
    }
    const auto offset = reinterpret_cast<USize>(text) - reinterpret_cast<USize>(buffer_);
    const bool isOwnText = offset < length_;
    if (!EnsureCapacity(UInt64{length_} + length)) {
        return ErrMemoryFull;
    }
    CopyBytes(buffer_ + length_, isOwnText ? buffer_ + offset : text, length);
    length_ += length;
    return NoError;
}

QVErrCode String::Append(const char* text)
{
    return AppendBytes(text, TerminatedLength(text));
}

QVErrCode String::Append(const char* text, unsigned int length)
{
    return AppendBytes(RequireText(text), length);
}

QVErrCode String::SetLength(unsigned int length)
{
    if (!EnsureCapacity(length)) {
        return ErrMemoryFull;
    }
    length_ = length;
    return NoError;
}

void String::Clear() noexcept
{
    length_ = 0;
    isOutOfMemory_ = false;
}

bool String::CheckState() const
{
    return length_ <= capacity_ && (buffer_ != nullptr || (capacity_ == 0 && !isOwned_)) &&
           !(isOutOfMemory_ && length_ != 0);
}

QVErrCode String::Pad(unsigned int length, char c)
{
    const UInt32 oldLength = length_;
    if (length > oldLength) {
        if (const QVErrCode error = SetLength(length)) {
            return error;
        }
        std::memset(buffer_ + oldLength, c, length - oldLength);
    }
    return GetStatus();
}

void String::Fill(char c, unsigned int start, unsigned int count)
{
    count = CheckRange(start, count);
    if (count != 0) {
        std::memset(buffer_ + start, c, count);
    }
}

void String::Delete(unsigned int position)
{
    CheckRange(position, 1);
    CopyBytes(buffer_ + position, buffer_ + position + 1, length_ - position - 1);
    --length_;
}

String String::GetSuffix(unsigned int length) const
{
    CheckRange(0, length == Npos ? length_ + 1 : length);
    return GetSubstring(length_ - length);
}

String String::GetSubstring(unsigned int start, unsigned int count) const
{
    count = CheckRange(start, count);
    return count == 0 ? String() : String(buffer_ + start, count);
}

/// Answers how many bytes the range really has.
unsigned int String::CheckRange(unsigned int start, unsigned int count) const
{
    if (start > length_ || (count != Npos && count > length_ - start)) {
        QV_THROW(IllegalReferenceException, "String: range outside the string");
    }
    return count == Npos ? length_ - start : count;
}

const char* String::ToCStr() const
{
    // Growing changes no text.
    String& self = const_cast<String&>(*this);
    if (isOutOfMemory_ || length_ == 0 || !self.EnsureCapacity(UInt64{length_} + 1)) {
        return "";
    }
    buffer_[length_] = '\0';
    return buffer_;
}

const unsigned char* String::ToPStr() const
{
    static constexpr unsigned char empty[1] = {0};
    String& self = const_cast<String&>(*this);
    const UInt32 count = std::min(length_, 255u);
    if (isOutOfMemory_ || length_ == 0 || !self.EnsureCapacity(UInt64{length_} + 1 + count)) {
        return empty;
    }
    char* const pascalText = buffer_ + length_;
    *pascalText = static_cast<char>(count);
    CopyBytes(pascalText + 1, buffer_, count);
    return reinterpret_cast<const unsigned char*>(pascalText);
}

UInt32 String::GenerateHashValue() const noexcept
{
    constexpr UInt32 multiplier = 65599;
    UInt32 hash = 0;
    for (const char byte : GetView()) {
        hash = hash * multiplier + static_cast<UInt32>(static_cast<signed char>(byte));
    }
    return hash;
}

bool operator==(const String& a, const char* b)
{
    return !a.isOutOfMemory_ && a.GetView() == RequireText(b);
}

bool String::BeginsWith(const char* text) const
{
    return GetView().starts_with(RequireText(text));
}

bool String::EndsWith(const char* text) const
{
    return GetView().ends_with(RequireText(text));
}

bool operator<(const String& a, const String& b)
{
    if (a.isOutOfMemory_ || b.isOutOfMemory_) {
        return a.isOutOfMemory_ && !b.isOutOfMemory_;
    }
    return CHCompareTexts(a.ToCStr(), b.ToCStr(), CaseSensitiveType) < 0;
}

String::CompareResult String::Compare(const String& other, CaseComparison rule) const
{
    if (rule != UniChar::CaseSensitive && rule != UniChar::IgnoreCase) {
        return UniChar::Equal;
    }
    const CaseType caseType = rule == UniChar::CaseSensitive ? CaseSensitiveType : CaseInsensitiveType;
    const int order = CHCompareTexts(ToCStr(), other.ToCStr(), caseType);
    return order < 0 ? UniChar::Less : order > 0 ? UniChar::Greater : UniChar::Equal;
}

String operator+(const String& a, const String& b)
{
    String sum(a);
    sum.Append(b);
    return sum;
}

String operator+(const String& a, const char* b)
{
    String sum(a);
    sum.Append(b);
    return sum;
}

String operator+(const char* a, const String& b)
{
    String sum(a);
    sum.Append(b);
    return sum;
}

} // namespace QV
