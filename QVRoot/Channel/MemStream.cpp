#include <QVRoot/Channel/MemStream.hpp>

namespace QV {

MemStream* MemStream::Create(const unsigned char* data, UInt32 size)
{
    return new MemStream(data, data != nullptr ? size : 0, true);
}

MemStream* MemStream::Create()
{
    return new MemStream(nullptr, 0, false);
}

MemStream::~MemStream() = default;

Com::Result MemStream::Write(const void*, UInt32 n, UInt32* written)
{
    if (readOnly_) {
        return Com::NotImplemented;
    }
    if (written != nullptr) {
        *written = 0;
    }
    return UInt64{position_} + n > size_ ? Com::MediumFull
                                         : Com::Ok; // the size is 0, so there is nothing to copy
}

Com::Result MemStream::SetSize(UInt64)
{
    return Com::NotImplemented;
}

Com::Result MemStream::CopyTo(Com::IStream*, UInt64, UInt64*, UInt64*)
{
    return Com::NotImplemented;
}

const char* MemStream::GetBytes(UInt32* size) const noexcept
{
    *size = size_;
    return static_cast<const char*>(data_);
}

} // namespace QV
