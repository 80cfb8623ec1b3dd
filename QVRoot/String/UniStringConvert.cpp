#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>
#include <QVRoot/String/UniString.hpp>

#include <algorithm>
#include <cstring>

namespace QV {

namespace {

void* AllocateBlock(USize size)
{
    return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true);
}

[[noreturn]] void ThrowConversionError()
{
    QV_THROW(ConversionErrorException, "UniString: the text does not convert to the code page");
}

/// Converts units into a buffer of exactly the given length and answers the bytes written.
UInt32 ConvertUnits(const unsigned short* units, UInt32 count, char* bytes, UInt32 byteCount, QVCharCode code,
                    OnConversionError rule)
{
    const UInt32 written =
        count == 0 || byteCount == 0 ? 0 : UniChar::UnicodeToANSI(units, count, bytes, byteCount, code, rule);
    if (rule == ThrowOnConversionError && written < count) {
        ThrowConversionError();
    }
    return written;
}

} // namespace

UniString::CStr::CStr(unsigned int length) : text_(inline_), length_(length)
{
    // In 64 bits, so that the longest length does not come round to the inline area.
    const USize size = USize{length} + 1;
    if (size > sizeof(inline_)) {
        text_ = static_cast<char*>(AllocateBlock(size));
    }
    text_[length] = '\0';
}

UniString::CStr::CStr(CStr& other) noexcept : text_(inline_), length_(other.length_)
{
    if (other.text_ == other.inline_) {
        std::memcpy(inline_, other.inline_, length_ + 1);
    } else {
        text_ = other.text_;
        other.text_ = nullptr;
    }
}

UniString::CStr::~CStr()
{
    if (text_ != inline_) {
        MemoryManager::Free(text_);
    }
}

UniString::UStr::~UStr()
{
    if (owned_) {
        MemoryManager::Free(text_);
    }
}

UniString::CStr UniString::ToCStr(unsigned int start, unsigned int count, QVCharCode code,
                                  OnConversionError rule) const
{
    count = CheckRange(start, count);
    const unsigned short* const units = count == 0 ? nullptr : buffer_->content + start;
    CStr result(count == 0 ? 0 : UniChar::GetANSILength(units, count, code, rule));
    result.length_ = ConvertUnits(units, count, result.text_, result.length_, code, rule);
    result.text_[result.length_] = '\0';
    return result;
}

UniString::UStr UniString::ToUStr(unsigned int start, unsigned int count) const
{
    static unsigned short emptyText[1] = {0};
    count = CheckRange(start, count);
    if (count == 0) {
        return UStr(emptyText, false);
    }
    if (start + count == buffer_->length && buffer_->length < buffer_->capacity) {
        // The unit behind the text belongs to nobody, not even in a shared buffer. Sharers on other threads
        // may write the same zero, hence atomically, and only where it is not there yet.
        std::atomic_ref<unsigned short> terminator(buffer_->content[buffer_->length]);
        if (terminator.load(std::memory_order_relaxed) != 0) {
            terminator.store(0, std::memory_order_relaxed);
        }
        return UStr(buffer_->content + start, false);
    }
    return UStr(CopyUStr(start, count), true);
}

UniString::PStr UniString::ToPStr(unsigned int start, unsigned int count, QVCharCode code,
                                  OnConversionError rule) const
{
    const CStr text = ToCStr(start, count, code, rule);
    PStr result;
    const UInt32 length = std::min(text.GetLength(), 255u);
    result.text_[0] = static_cast<unsigned char>(length);
    std::memcpy(result.text_ + 1, text.GetText(), length);
    return result;
}

unsigned short* UniString::CopyUStr(unsigned int start, unsigned int count) const
{
    count = CheckRange(start, count);
    auto* const copy =
        static_cast<unsigned short*>(AllocateBlock((USize{count} + 1) * sizeof(unsigned short)));
    if (count != 0) {
        std::memcpy(copy, buffer_->content + start, count * sizeof(unsigned short));
    }
    copy[count] = 0;
    return copy;
}

char* UniString::CopyUTF8(unsigned int start, unsigned int count, OnConversionError rule) const
{
    count = CheckRange(start, count);
    const unsigned short* const units = count == 0 ? nullptr : buffer_->content + start;
    const UInt32 length = count == 0 ? 0 : UniChar::GetANSILength(units, count, UTF8CharCode, rule);
    if (rule == ThrowOnConversionError && length < count) {
        ThrowConversionError();
    }
    auto* const copy = static_cast<char*>(AllocateBlock(USize{length} + 1));
    copy[ConvertUnits(units, count, copy, length, UTF8CharCode, ConvertLossy)] = '\0';
    return copy;
}

} // namespace QV
