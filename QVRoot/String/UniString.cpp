#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/Transcode/TranscodeChoiceImpl.hpp>
#include <QVRoot/String/UniStringImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV {

void Impl::ThrowNullText()
{
    QV_THROW(NullPointerException, "UniString: text is null");
}

void Impl::ThrowNullReference()
{
    QV_THROW(NullReferenceException, "UniString: string is null");
}

void Impl::ThrowIllegalRange()
{
    QV_THROW(IllegalReferenceException, "UniString: range outside the string");
}

UInt32 Impl::GetTerminatedLength(const char* text) noexcept
{
    return static_cast<UInt32>(std::min<USize>(std::strlen(text), 0xFFFFFFFE));
}

UInt32 Impl::GetTerminatedLength(const unsigned short* text) noexcept
{
    for (UInt32 i = 0; i < 4; ++i) {
        if (text[i] == 0) {
            return i; // sooner than by the vector
        }
    }
    return static_cast<UInt32>(std::min<USize>(GetTranscodeKernels().length16(text), 0xFFFFFFFE));
}

UInt32 Impl::CountUnits(const char* text, UInt32 byteCount, QVCharCode code)
{
    if (CHSingleByteCharacters(code) || IsAscii(text, byteCount)) {
        return byteCount;
    }
    return UniChar::GetUnicodeLength(text, byteCount, code);
}

Impl::ConvertedText::ConvertedText(const char* text, UInt32 byteCount, UInt32 unitCount, QVCharCode code)
{
    if (unitCount <= most) {
        units_ = {local_, UniChar::ANSIToUnicode(text, byteCount, local_, unitCount, code)};
    } else {
        long_ = UniString(text, byteCount, code);
        units_ = Impl::GetUnits(long_);
    }
}

UniString::UniString(const UniString& source, unsigned int start, unsigned int count)
{
    Impl::RequireReference(source);
    count = source.CheckRange(start, count);
    if (count == source.GetLength() && source.buffer_ != nullptr) {
        buffer_ = ShareBuffer(source.buffer_);
    } else if (count == 0) {
        buffer_ = ShareEmptyBuffer();
    } else {
        buffer_ = AllocateBuffer(count);
        Impl::CopyUnits(buffer_->content, source.buffer_->content + start, count);
        buffer_->length = count;
    }
}

UniString::UniString(const char* text, QVCharCode code)
    : UniString(text, Impl::GetTerminatedLength(Impl::RequireText(text)), code)
{
}

UniString::UniString(const unsigned char* text, QVCharCode code)
    : UniString(reinterpret_cast<const char*>(text), code)
{
}

UniString::UniString(const char* text, unsigned int byteCount, QVCharCode code) : buffer_(nullptr)
{
    const UInt32 units = Impl::CountUnits(Impl::RequireText(text), byteCount, code);
    buffer_ = AllocateBuffer(units);
    if (units != 0) {
        buffer_->length = UniChar::ANSIToUnicode(text, byteCount, buffer_->content, units, code);
    }
}

UniString::UniString(const unsigned short* text)
    : UniString(text, Impl::GetTerminatedLength(Impl::RequireText(text)))
{
}

UniString::UniString(const char16_t* text) : UniString(AsUnits(text)) {}

UniString::UniString(const char16_t* text, unsigned int count) : UniString(AsUnits(text), count) {}

UniString::UniString(std::u16string_view text)
    : UniString(text.empty() ? EmptyBuffer()->content : AsUnits(text.data()),
                static_cast<UInt32>(std::min<USize>(text.size(), 0xFFFFFFFE)))
{
}

UniString::UniString(std::u8string_view text)
    : UniString(text.empty() ? "" : reinterpret_cast<const char*>(text.data()),
                static_cast<UInt32>(std::min<USize>(text.size(), 0xFFFFFFFE)), UTF8CharCode)
{
}

UniString& UniString::operator=(const UniString& source)
{
    Impl::RequireReference(source);
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
    Assign(text, Impl::GetTerminatedLength(Impl::RequireText(text)), code);
}

void UniString::Assign(const char* text, unsigned int byteCount, QVCharCode code)
{
    Impl::RequireText(text);
    Set(text, Impl::CountUnits(text, byteCount, code), byteCount, code);
}

void UniString::Assign(const unsigned char* text, QVCharCode code)
{
    Assign(reinterpret_cast<const char*>(text), code);
}

void UniString::Assign(const unsigned short* text)
{
    Assign(text, Impl::GetTerminatedLength(Impl::RequireText(text)));
}

void UniString::Assign(const unsigned short* text, unsigned int count)
{
    Impl::RequireText(text);
    if (count == 0) {
        Clear();
    } else if (PointsInside(text)) {
        UniString(text, count).Swap(*this);
    } else {
        AboutToModify(count);
        Impl::CopyUnits(buffer_->content, text, count);
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
    if (PointsInside(text)) {
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
    const Impl::UnitRange units = Impl::GetUnits(Impl::RequireReference(source));
    count = source.CheckRange(start, count);
    Append(units.units + start, count);
}

void UniString::Append(const char* text, QVCharCode code)
{
    Append(text, Impl::GetTerminatedLength(Impl::RequireText(text)), code);
}

void UniString::Append(const char* text, unsigned int byteCount, QVCharCode code)
{
    Impl::RequireText(text);
    const UniString kept = PointsInside(text) ? *this : UniString();
    AppendConverted(text, byteCount, code);
}

void UniString::Append(const unsigned char* text, QVCharCode code)
{
    Append(reinterpret_cast<const char*>(text), code);
}

void UniString::Append(const unsigned short* text)
{
    Append(text, Impl::GetTerminatedLength(Impl::RequireText(text)));
}

void UniString::Append(std::u16string_view text)
{
    if (!text.empty()) {
        Append(AsUnits(text.data()), static_cast<UInt32>(std::min<USize>(text.size(), 0xFFFFFFFE)));
    }
}

void UniString::Append(const unsigned short* text, unsigned int count)
{
    Impl::RequireText(text);
    if (count != 0) {
        AppendUnits(text, count);
    }
}

/// The units may lie in the string's own buffer, which a copy keeps then.
void UniString::AppendUnits(const unsigned short* units, UInt32 count)
{
    if (PointsInside(units)) {
        const UniString kept(*this);
        AboutToInsert(count);
        Impl::CopyUnits(buffer_->content + buffer_->length, units, count);
    } else {
        AboutToInsert(count);
        Impl::CopyUnits(buffer_->content + buffer_->length, units, count);
    }
    buffer_->length += count;
}

void UniString::AppendConverted(const char* text, UInt32 byteCount, QVCharCode code)
{
    const UInt32 units = Impl::CountUnits(text, byteCount, code);
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

bool UniString::PointsInside(const void* pointer) const noexcept
{
    const auto address = reinterpret_cast<USize>(pointer);
    const auto first = reinterpret_cast<USize>(buffer_ == nullptr ? nullptr : buffer_->content);
    return address >= first && address < first + USize{GetCapacity()} * sizeof(unsigned short);
}

bool UniString::HaveEqualUnits(const UniString& a, const UniString& b)
{
    return Impl::RequireReference(a).buffer_ == Impl::RequireReference(b).buffer_ ||
           Impl::AreEqual(Impl::GetUnits(a), Impl::GetUnits(b));
}

/// Answers how many units the range really has.
UInt32 UniString::CheckRange(UInt32 start, UInt32 count) const
{
    const UInt32 length = GetLength();
    if (start > length || (count != Npos && count > length - start)) {
        Impl::ThrowIllegalRange();
    }
    return count == Npos ? length - start : count;
}

} // namespace QV
