/// Hashing of what tells modules apart.
#pragma once

#include <QVRoot/Exceptions/FrameRuleImpl.hpp>

#include <initializer_list>

namespace QV::Impl {

inline UInt64 HashIdentity(std::initializer_list<UInt64> parts) noexcept
{
    constexpr UInt64 Multiplier = 0x9E3779B97F4A7C15;
    UInt64 hash = 0;
    UInt64 factor = Multiplier;
    for (const UInt64 part : parts) { // the products do not wait for each other
        hash ^= (part ^ part >> 32) * factor;
        factor *= Multiplier;
    }
    return hash >> (64 - FrameRuleCache::KeyBits);
}

} // namespace QV::Impl
