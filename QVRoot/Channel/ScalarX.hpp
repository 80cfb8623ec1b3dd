/// The values that the extended protocols move, and the words that they are moved as.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <bit>
#include <concepts>
#include <type_traits>

namespace QV {

/// Types with the same width on every target. There is no `long`: it has not.
template <class T>
concept ScalarX =
    std::same_as<T, bool> || std::same_as<T, char> || std::same_as<T, Int8> || std::same_as<T, UInt8> ||
    std::same_as<T, Int16> || std::same_as<T, UInt16> || std::same_as<T, Int32> || std::same_as<T, UInt32> ||
    std::same_as<T, Int64> || std::same_as<T, UInt64> || std::same_as<T, float> || std::same_as<T, double>;

namespace Impl {

template <USize Size>
struct WordOfSize;
template <>
struct WordOfSize<1> : std::type_identity<UInt8> {
};
template <>
struct WordOfSize<2> : std::type_identity<UInt16> {
};
template <>
struct WordOfSize<4> : std::type_identity<UInt32> {
};
template <>
struct WordOfSize<8> : std::type_identity<UInt64> {
};

/// The unsigned integer with the bits of a value.
template <ScalarX T>
using WordOf = typename WordOfSize<sizeof(T)>::type;

template <ScalarX T>
constexpr WordOf<T> ToWord(T value) noexcept
{
    return std::bit_cast<WordOf<T>>(value);
}

template <ScalarX T>
constexpr T FromWord(WordOf<T> word) noexcept
{
    if constexpr (std::same_as<T, bool>) {
        return word != 0; // no other byte would make a valid bool
    } else {
        return std::bit_cast<T>(word);
    }
}

/// Compilers know it for what it is, and take one instruction.
template <class Word>
constexpr Word ReverseBytes(Word word) noexcept
{
    if constexpr (sizeof(Word) == 1) {
        return word;
    } else if constexpr (sizeof(Word) == 2) {
        return static_cast<Word>(word << 8 | word >> 8);
    } else if constexpr (sizeof(Word) == 4) {
        return word << 24 | (word & 0xFF00) << 8 | (word >> 8 & 0xFF00) | word >> 24;
    } else {
        const UInt64 low = ReverseBytes(static_cast<UInt32>(word));
        return low << 32 | ReverseBytes(static_cast<UInt32>(word >> 32));
    }
}

} // namespace Impl

} // namespace QV
