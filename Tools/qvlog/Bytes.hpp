/// Little-endian numbers at any address.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace QVLog {

static_assert(std::endian::native == std::endian::little);

template <class Number>
Number GetNumber(const void* bytes)
{
    Number number;
    std::memcpy(&number, bytes, sizeof(number));
    return number;
}

inline std::uint16_t GetUInt16(const void* bytes)
{
    return GetNumber<std::uint16_t>(bytes);
}

inline std::uint32_t GetUInt32(const void* bytes)
{
    return GetNumber<std::uint32_t>(bytes);
}

inline std::uint64_t GetUInt64(const void* bytes)
{
    return GetNumber<std::uint64_t>(bytes);
}

} // namespace QVLog
