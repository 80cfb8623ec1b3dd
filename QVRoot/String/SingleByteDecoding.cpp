#include <QVRoot/String/CodePageTablesImpl.hpp>
#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>

#include <cstring>

namespace QV::Impl {

const UInt16* FindSingleByteTable(UInt32 page) noexcept
{
    switch (page) {
    case 1250:
        return SingleBytePage1250;
    case 1251:
        return SingleBytePage1251;
    case 1252:
        return SingleBytePage1252;
    case 1253:
        return SingleBytePage1253;
    case 1254:
        return SingleBytePage1254;
    case 1255:
        return SingleBytePage1255;
    case 1256:
        return SingleBytePage1256;
    case 1257:
        return SingleBytePage1257;
    case 874:
        return SingleBytePage874;
    }
    return nullptr;
}

int DecodeSingleBytes(const UInt16* table, const char* text, int length, UInt16* result,
                      int resultLength) noexcept
{
    const USize count = length < 0 ? std::strlen(text) + 1 : static_cast<USize>(length);
    if (count > 0x7FFFFFFF || (resultLength != 0 && count > static_cast<USize>(resultLength))) {
        return 0;
    }
    if (resultLength != 0) {
        GetCodePageKernels().decode(table, reinterpret_cast<const UInt8*>(text), count, result);
    }
    return static_cast<int>(count);
}

} // namespace QV::Impl
