#include <QVRoot/String/Unicode.hpp>

#include <QVRoot/Exceptions/QVException.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <climits>
#include <cstddef>
#include <cstring>

namespace QV::Unicode {

namespace {

constexpr char failure[] = "QV::Unicode::ConvertUTF8ToUTF16: Conversion Error! ErrorCode:";
constexpr char sourcePath[] = "String/Unicode";

Int32 GetLength(const char* source)
{
    const USize length = std::strlen(source);
    if (length > INT_MAX) {
        throw QVException(failure, sourcePath, __LINE__);
    }
    return static_cast<Int32>(length);
}

} // namespace

ConvertUTF8ToUTF16::ConvertUTF8ToUTF16(const char* source, int length)
{
    static_assert(offsetof(ConvertUTF8ToUTF16, capacity_) == inlineUnits * sizeof(unsigned short));
    static_assert(offsetof(ConvertUTF8ToUTF16, result_) < offsetof(ConvertUTF8ToUTF16, length_));
    if (source == nullptr) {
        return;
    }
    if (length == -1) {
        length = GetLength(source);
    }
    result_ = inline_;
    if (length == 0) {
        inline_[0] = 0;
        return;
    }
    Reserve(static_cast<Int64>(length) + 1);
    Convert(source, length);
}

ConvertUTF8ToUTF16::~ConvertUTF8ToUTF16()
{
    FreeBlock();
}

void ConvertUTF8ToUTF16::Reserve(Int64 units)
{
    if (units <= capacity_) {
        return;
    }
    capacity_ = units < INT_MAX ? static_cast<Int32>(units) : INT_MAX;
    const USize size = static_cast<USize>(capacity_) * sizeof(unsigned short);
    result_ =
        static_cast<unsigned short*>(MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true));
}

void ConvertUTF8ToUTF16::Convert(const char* source, Int32 length)
{
    length_ = UTF8ToUTF16(source, length, result_, capacity_, true);
    if (length_ == ConversionError::DestinationTooSmall) {
        FreeBlock();
        Reserve(static_cast<Int64>(capacity_) * 2);
        length_ = UTF8ToUTF16(source, length, result_, capacity_, true);
    }
    if (ConversionError::HasError(length_)) {
        FreeBlock();
        throw QVException(failure, sourcePath, __LINE__);
    }
    if (length_ < capacity_) {
        result_[length_] = 0;
    }
}

void ConvertUTF8ToUTF16::FreeBlock() noexcept
{
    if (result_ != inline_) {
        MemoryManager::Free(result_);
    }
    result_ = nullptr;
}

} // namespace QV::Unicode
