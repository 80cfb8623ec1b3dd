#include <QVRoot/Logging/LogStateImpl.hpp>

namespace QV::Impl {

UInt64 HashLogString(const char* text, UInt32 length) noexcept
{
    constexpr UInt64 base = 65599;
    constexpr UInt64 base2 = base * base;
    constexpr UInt64 base4 = base2 * base2;
    const auto at = [text](UInt32 i) { return static_cast<UInt64>(static_cast<signed char>(text[i])); };
    UInt64 hash = 0;
    UInt32 i = 0;
    // Eight steps of h = h * base + c at once, so that only one product waits for the one before.
    for (; length - i >= 8; i += 8) {
        const UInt64 front = (at(i) * base + at(i + 1)) * base2 + (at(i + 2) * base + at(i + 3));
        const UInt64 back = (at(i + 4) * base + at(i + 5)) * base2 + (at(i + 6) * base + at(i + 7));
        hash = hash * (base4 * base4) + (front * base4 + back);
    }
    for (; i < length; ++i) {
        hash = hash * base + at(i);
    }
    return hash;
}

UInt32 LogTextToUtf8(const unsigned short* text, UInt32 length, char* bytes, UInt32 most) noexcept
{
    UInt32 n = 0;
    for (UInt32 i = 0; i < length; ++i) {
        UInt32 c = text[i];
        if ((c & 0xFC00) == 0xD800 && i + 1 < length && (text[i + 1] & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c & 0x3FF) << 10 | (text[++i] & 0x3FFu));
        } else if ((c & 0xF800) == 0xD800) {
            c = 0xFFFD;
        }
        const UInt32 size = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
        if (size > most - n) {
            break;
        }
        if (size == 1) {
            bytes[n++] = static_cast<char>(c);
            continue;
        }
        constexpr UInt8 marks[] = {0, 0, 0xC0, 0xE0, 0xF0};
        bytes[n++] = static_cast<char>(marks[size] | c >> 6 * (size - 1));
        for (UInt32 rest = size - 1; rest-- != 0;) {
            bytes[n++] = static_cast<char>(0x80 | (c >> 6 * rest & 0x3F));
        }
    }
    return n;
}

} // namespace QV::Impl
