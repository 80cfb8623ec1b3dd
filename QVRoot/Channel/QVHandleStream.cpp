#include <QVRoot/Channel/QVHandleStream.hpp>
#include <QVRoot/MemoryManagement/BlockMemoryImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV {

namespace {

void Store(UInt64 value, UInt64* place)
{
    if (place != nullptr) {
        *place = value;
    }
}

Com::Result Answer(Com::Result result, UInt32 count, UInt32* written)
{
    if (written != nullptr) {
        *written = count;
    }
    return result;
}

} // namespace

QVHandleStream* QVHandleStream::Create(QVHandle handle, bool readOnly)
{
    if (handle == nullptr) {
        return nullptr;
    }
    Int32 size = 0;
    const bool isEmpty = Impl::QueryHandleSize(handle, size) != NoError;
    return new QVHandleStream(handle, isEmpty ? 0 : static_cast<UInt32>(size), readOnly);
}

QVHandleStream::QVHandleStream(QVHandle handle, UInt32 size, bool readOnly) noexcept
    : ComStream(handle, size, readOnly)
{
}

QVHandleStream::~QVHandleStream() = default;

QVHandle QVHandleStream::GetHandle() const noexcept
{
    return static_cast<QVHandle>(const_cast<void*>(data_));
}

Com::Result QVHandleStream::Write(const void* buffer, UInt32 n, UInt32* written)
{
    if (readOnly_) {
        return Com::NotImplemented;
    }
    if (IsEmpty()) {
        return Com::False;
    }
    const UInt64 end = UInt64{position_} + n;
    if (end > 0xFFFFFFFFu) {
        return Answer(Com::MediumFull, 0, written);
    }
    if (n == 0) {
        return Answer(Com::Ok, 0, written);
    }
    if (buffer == nullptr) {
        return Answer(Com::InvalidPointer, 0, written);
    }
    USize inside = 0;
    const bool isInside = Impl::FindInBlock(Impl::GetRecord(GetHandle()), buffer, inside);
    if (!Reserve(end)) {
        return Answer(Com::MediumFull, 0, written);
    }
    char* const block = *GetHandle();
    std::memmove(block + position_, isInside ? block + inside : buffer, n); // the block may have moved
    position_ = static_cast<UInt32>(end);
    return Answer(Com::Ok, n, written);
}

Com::Result QVHandleStream::SetSize(UInt64 newSize)
{
    if (readOnly_) {
        return Com::NotImplemented;
    }
    return Resize(newSize, 0xFFFFFFFF) ? Com::Ok : Com::MediumFull;
}

Com::Result QVHandleStream::CopyTo(Com::IStream* target, UInt64 n, UInt64* read, UInt64* written)
{
    if (target == nullptr || target == this) {
        return Com::InvalidPointer;
    }
    if (IsEmpty()) {
        return Com::False;
    }
    UInt32 size = 0;
    const char* const bytes = GetBytes(&size);
    const UInt32 start = std::min(position_, size);
    const UInt32 count = static_cast<UInt32>(std::min<UInt64>(n, size - start));
    Store(count, read);
    UInt32 copied = 0;
    const Com::Result result = target->Write(bytes + start, count, &copied);
    Store(copied, written);
    return result;
}

const char* QVHandleStream::GetBytes(UInt32* size) const noexcept
{
    *size = std::min(size_, GetHandleSize());
    return *GetHandle();
}

/// 0 when there is no block.
UInt32 QVHandleStream::GetHandleSize() const noexcept
{
    return IsEmpty() ? 0 : static_cast<UInt32>(Impl::GetRecord(GetHandle()).size);
}

/// Gives the handle a new size. Of what it gains, all in front of `zeroEnd` is zeroed.
bool QVHandleStream::Resize(UInt64 newSize, UInt32 zeroEnd) noexcept
{
    if (newSize > static_cast<UInt64>(Impl::MaxBlockSize)) {
        return false;
    }
    const UInt32 oldSize = GetHandleSize();
    const Int64 wanted = static_cast<Int64>(newSize);
    const QVErrCode error =
        IsEmpty() ? Impl::FillEmptyHandle(GetHandle(), wanted) : Impl::ResizeHandle(GetHandle(), wanted);
    size_ = GetHandleSize();
    zeroEnd = std::min(zeroEnd, size_);
    if (zeroEnd > oldSize) {
        std::memset(*GetHandle() + oldSize, 0, zeroEnd - oldSize);
    }
    return error == NoError;
}

/// Makes the bytes up to an end part of the stream.
bool QVHandleStream::Reserve(UInt64 end) noexcept
{
    const UInt32 handleSize = GetHandleSize();
    if (end > handleSize) {
        return Resize(end, position_); // the rest will be written
    }
    if (end > size_) { // others have made the handle grow
        size_ = handleSize;
    }
    return true;
}

} // namespace QV
