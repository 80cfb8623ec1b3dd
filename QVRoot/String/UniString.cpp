#include <QVRoot/BasicEnvironment/NullReferenceImpl.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/UniString.hpp>
#include <QVRoot/String/UniStringBufferImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV {

void Impl::ThrowNullText()
{
    QV_THROW(NullPointerException, "UniString: text is null");
}

namespace {

/// The length of zero-terminated text; what does not fit 32 bits is refused as a length always is.
template <class Unit>
UInt32 TerminatedLength(const Unit* text)
{
    USize length = 0;
    if constexpr (sizeof(Unit) == 1) {
        length = std::strlen(reinterpret_cast<const char*>(text));
    } else {
        while (text[length] != 0) {
            ++length;
        }
    }
    return static_cast<UInt32>(std::min<USize>(length, 0xFFFFFFFE));
}

template <class Unit>
const Unit* RequireText(const Unit* text)
{
    if (text == nullptr) {
        Impl::ThrowNullText();
    }
    return text;
}

bool HasHighBit(const char* text, UInt32 byteCount) noexcept
{
    UInt64 seen = 0;
    UInt32 i = 0;
    for (; i + 8 <= byteCount; i += 8) {
        UInt64 bytes;
        std::memcpy(&bytes, text + i, 8);
        seen |= bytes;
    }
    for (; i < byteCount; ++i) {
        seen |= static_cast<unsigned char>(text[i]);
    }
    return (seen & 0x8080808080808080u) != 0;
}

UInt32 CountUnits(const char* text, UInt32 byteCount, QVCharCode code)
{
    if (CHSingleByteCharacters(code) || !HasHighBit(text, byteCount)) {
        return byteCount;
    }
    return UniChar::GetUnicodeLength(text, byteCount, code);
}

void CopyUnits(unsigned short* to, const unsigned short* from, USize count) noexcept
{
    if (count != 0) {
        std::memcpy(to, from, count * sizeof(unsigned short));
    }
}

} // namespace

UniString::UniString(const UniString& source, unsigned int start, unsigned int count)
{
    if (Impl::IsNullReference(&source)) {
        QV_THROW(NullReferenceException, "UniString: source is null");
    }
    count = source.CheckRange(start, count);
    if (count == source.GetLength() && source.buffer_ != nullptr) {
        buffer_ = ShareBuffer(source.buffer_);
    } else if (count == 0) {
        buffer_ = ShareEmptyBuffer();
    } else {
        buffer_ = AllocateBuffer(count);
        CopyUnits(buffer_->content, source.buffer_->content + start, count);
        buffer_->length = count;
    }
}

UniString::UniString(const char* text, QVCharCode code)
    : UniString(text, TerminatedLength(RequireText(text)), code)
{
}

UniString::UniString(const unsigned char* text, QVCharCode code)
    : UniString(reinterpret_cast<const char*>(text), code)
{
}

UniString::UniString(const char* text, unsigned int byteCount, QVCharCode code) : buffer_(nullptr)
{
    const UInt32 units = CountUnits(RequireText(text), byteCount, code);
    buffer_ = AllocateBuffer(units);
    if (units != 0) {
        buffer_->length = UniChar::ANSIToUnicode(text, byteCount, buffer_->content, units, code);
    }
}

UniString::UniString(const unsigned short* text) : UniString(text, TerminatedLength(RequireText(text))) {}

UniString::UniString(const char16_t* text) : UniString(AsUnits(text)) {}

UniString::UniString(const char16_t* text, unsigned int count) : UniString(AsUnits(text), count) {}

UniString::UniString(std::u16string_view text)
    : UniString(text.empty() ? EmptyBuffer()->content : AsUnits(text.data()),
                static_cast<UInt32>(std::min<USize>(text.size(), 0xFFFFFFFE)))
{
}

UniString& UniString::operator=(const UniString& source)
{
    if (Impl::IsNullReference(&source)) {
        QV_THROW(NullReferenceException, "UniString: source is null");
    }
    if (this != &source) {
        SetBuffer(source.buffer_ == nullptr ? ShareEmptyBuffer() : ShareBuffer(source.buffer_));
    }
    return *this;
}

void UniString::Assign(const UniString& source, unsigned int start, unsigned int count)
{
    UniString(source, start, count).Swap(*this);
}

void UniString::Assign(const char* text, QVCharCode code)
{
    Assign(text, TerminatedLength(RequireText(text)), code);
}

void UniString::Assign(const char* text, unsigned int byteCount, QVCharCode code)
{
    RequireText(text);
    Set(text, CountUnits(text, byteCount, code), byteCount, code);
}

void UniString::Assign(const unsigned char* text, QVCharCode code)
{
    Assign(reinterpret_cast<const char*>(text), code);
}

void UniString::Assign(const unsigned short* text)
{
    Assign(text, TerminatedLength(RequireText(text)));
}

void UniString::Assign(const unsigned short* text, unsigned int count)
{
    RequireText(text);
    if (count == 0) {
        Clear();
    } else if (PointsInside(text)) {
        UniString(text, count).Swap(*this);
    } else {
        AboutToModify(count);
        CopyUnits(buffer_->content, text, count);
        buffer_->length = count;
    }
}

void UniString::Assign(UniChar c)
{
    const unsigned short unit = c;
    Assign(&unit, 1);
}

void UniString::Set(const char* text, UInt32 unitCount, UInt32 byteCount, QVCharCode code)
{
    if (unitCount == 0) {
        Clear();
        return;
    }
    if (PointsInside(reinterpret_cast<const unsigned short*>(text))) {
        UniString(text, byteCount, code).Swap(*this);
        return;
    }
    AboutToModify(unitCount);
    buffer_->length = UniChar::ANSIToUnicode(text, byteCount, buffer_->content, unitCount, code);
}

void UniString::SetLength(unsigned int length)
{
    AboutToModify(length);
    if (length != 0) {
        buffer_->length = length;
    }
}

void UniString::SetLength(unsigned int length, UniChar fill)
{
    const UInt32 oldLength = GetLength();
    SetLength(length);
    if (length > oldLength) {
        std::fill(buffer_->content + oldLength, buffer_->content + length, static_cast<unsigned short>(fill));
    }
}

void UniString::SetCapacity(unsigned int capacity)
{
    capacity = std::max(capacity, GetLength());
    if (capacity != GetCapacity()) {
        AboutToModify(capacity);
    }
}

void UniString::Clear() noexcept
{
    SetBuffer(ShareEmptyBuffer());
}

void UniString::ClearContent()
{
    if (GetLength() != 0) {
        AboutToDelete();
        buffer_->length = 0;
    }
}

void UniString::Truncate(unsigned int length)
{
    if (GetLength() > length) {
        SetLength(length);
    }
}

bool UniString::CheckState() const
{
    return buffer_ != nullptr && buffer_->capacity >= buffer_->length &&
           (buffer_->length != 0 || buffer_->capacity == 0) && buffer_->refCounter.Get() != 0;
}

void UniString::SetChar(unsigned int position, UniChar c)
{
    AboutToDelete();
    buffer_->content[position] = c;
}

void UniString::Append(const UniString& source, unsigned int start, unsigned int count)
{
    if (Impl::IsNullReference(&source)) {
        QV_THROW(NullReferenceException, "UniString: source is null");
    }
    // Shares the units, so that they stay when the source is this string.
    const UniString kept(source);
    count = kept.CheckRange(start, count);
    if (count != 0) {
        AboutToInsert(count);
        CopyUnits(buffer_->content + buffer_->length, kept.buffer_->content + start, count);
        buffer_->length += count;
    }
}

void UniString::Append(const char* text, QVCharCode code)
{
    Append(text, TerminatedLength(RequireText(text)), code);
}

void UniString::Append(const char* text, unsigned int byteCount, QVCharCode code)
{
    RequireText(text);
    const UniString kept = PointsInside(reinterpret_cast<const unsigned short*>(text)) ? *this : UniString();
    AppendConverted(text, byteCount, code);
}

void UniString::Append(const unsigned char* text, QVCharCode code)
{
    Append(reinterpret_cast<const char*>(text), code);
}

void UniString::Append(const unsigned short* text)
{
    Append(text, TerminatedLength(RequireText(text)));
}

void UniString::Append(const unsigned short* text, unsigned int count)
{
    RequireText(text);
    if (count == 0) {
        return;
    }
    const UniString kept = PointsInside(text) ? *this : UniString();
    AboutToInsert(count);
    CopyUnits(buffer_->content + buffer_->length, text, count);
    buffer_->length += count;
}

void UniString::AppendConverted(const char* text, UInt32 byteCount, QVCharCode code)
{
    const UInt32 units = CountUnits(text, byteCount, code);
    if (units != 0) {
        AboutToInsert(units);
        buffer_->length +=
            UniChar::ANSIToUnicode(text, byteCount, buffer_->content + buffer_->length, units, code);
    }
}

void UniString::AppendToNewBuffer(UniChar c)
{
    AboutToInsert(1);
    buffer_->content[buffer_->length++] = c;
}

bool UniString::PointsInside(const unsigned short* text) const noexcept
{
    const auto address = reinterpret_cast<USize>(text);
    const auto first = reinterpret_cast<USize>(buffer_ == nullptr ? nullptr : buffer_->content);
    return address >= first && address < first + USize{GetCapacity()} * sizeof(unsigned short);
}

bool UniString::HasEqualUnits(const UniString& other) const noexcept
{
    if (buffer_ == other.buffer_) {
        return true;
    }
    const UInt32 length = GetLength();
    return length == other.GetLength() &&
           (length == 0 ||
            std::memcmp(buffer_->content, other.buffer_->content, length * sizeof(unsigned short)) == 0);
}

/// Answers how many units the range really has.
UInt32 UniString::CheckRange(UInt32 start, UInt32 count) const
{
    const UInt32 length = GetLength();
    if (start > length || (count != Npos && count > length - start)) {
        QV_THROW(IllegalReferenceException, "UniString: range outside the string");
    }
    return count == Npos ? length - start : count;
}

UInt32 UniString::GenerateHashValue() const noexcept
{
    constexpr UInt32 multiplier = 65599;
    const UInt32 length = GetLength();
    const UInt32 step = length < 32 ? 1 : length >> 4;
    UInt32 hash = 0;
    for (UInt64 i = 0; i < length; i += step) {
        hash = hash * multiplier + buffer_->content[i];
    }
    return hash;
}

} // namespace QV
