// Texts of one and two bytes per character.
#include <QVRoot/String/CodePagePosixImpl.hpp>
#include <QVRoot/String/CodePages/CodePageKernelsImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl {

namespace {

constexpr USize maxLength = 0x7FFFFFFF;

USize GetCapacity(int resultLength)
{
    return resultLength == 0 ? maxLength : static_cast<USize>(resultLength);
}

// Where a run of ASCII is worth a call.
constexpr USize runLength = 16;

bool BeginsRun(const UInt8* text)
{
    UInt64 words[2];
    std::memcpy(words, text, sizeof(words));
    return ((words[0] | words[1]) & 0x8080808080808080) == 0;
}

bool BeginsRun(const UInt16* text)
{
    UInt64 words[4];
    std::memcpy(words, text, sizeof(words));
    return ((words[0] | words[1] | words[2] | words[3]) & 0xFF80FF80FF80FF80) == 0;
}

/// The bytes up to `stop`, of which none is the text's last; a character may end behind `stop`. There is room
/// for as many units.
UInt16* DecodeSlice(const DoubleBytePage& page, const UInt8*& source, const UInt8* stop, UInt16* target)
{
    const CodePageKernels& kernels = GetCodePageKernels();
    const UInt8* position = source;
    while (position < stop) {
        const UInt8 byte = *position;
        if (page.isLead[byte]) {
            const UInt8 trail = position[1];
            if (trail == 0) [[unlikely]] {
                // A lead byte does not swallow a zero. A branch, lest the next position waits for this byte.
                *target++ = page.undefined;
                ++position;
                continue;
            }
            *target++ = page.DecodePair(byte, trail);
            position += 2;
            continue;
        }
        *target++ = page.singles[byte];
        ++position;
        if (byte < 0x80 && static_cast<USize>(stop - position) >= runLength && BeginsRun(position)) {
            const USize count = kernels.widenRun(position, static_cast<USize>(stop - position), target);
            const USize copied = std::max(count, runLength);
            for (USize i = count; i < copied; ++i) {
                target[i] = position[i];
            }
            position += copied;
            target += copied;
        }
    }
    source = position;
    return target;
}

/// Characters, which are units.
USize CountCharacters(const DoubleBytePage& page, const UInt8* text, USize length)
{
    USize count = 0;
    for (USize i = 0; i < length; ++count) {
        const bool isPair = page.isLead[text[i]] && i + 1 < length && text[i + 1] != 0;
        i += isPair ? 2 : 1;
    }
    return count;
}

/// Writes so many units; null at one that the table of exact codes does not have.
template <bool Exact>
UInt8* EncodeSlice(const UInt16* codes, const UInt16* source, USize length, UInt8* target)
{
    const CodePageKernels& kernels = GetCodePageKernels();
    for (USize i = 0; i < length;) {
        const UInt16 unit = source[i];
        const UInt16 code = codes[unit];
        if (code >= 0x100) {
            target[0] = static_cast<UInt8>(code >> 8);
            target[1] = static_cast<UInt8>(code);
            target += 2;
            ++i;
            continue;
        }
        if (Exact && code == 0 && unit != 0) {
            return nullptr;
        }
        *target++ = static_cast<UInt8>(code);
        ++i;
        if (unit < 0x80 && length - i >= runLength && BeginsRun(source + i)) {
            const USize count = kernels.narrowRun(source + i, length - i, target);
            const USize copied = std::max(count, runLength);
            for (USize k = count; k < copied; ++k) {
                target[k] = static_cast<UInt8>(source[i + k]);
            }
            i += copied;
            target += copied;
        }
    }
    return target;
}

USize CountBytes(const DoubleBytePage& page, const UInt16* text, USize length, bool lossy)
{
    const UInt16* const codes = lossy ? page.codes : page.exact;
    USize bytes = length;
    bool isComplete = true;
    for (USize i = 0; i < length; ++i) {
        const UInt16 code = codes[text[i]];
        bytes += code >= 0x100;
        isComplete &= (code != 0) | (text[i] == 0);
    }
    return isComplete || lossy ? bytes : 0;
}

} // namespace

int DecodeDoubleBytes(const DoubleBytePage& page, const char* text, USize length, UInt16* result,
                      int resultLength) noexcept
{
    const UInt8* source = reinterpret_cast<const UInt8*>(text);
    if (resultLength == 0) {
        const USize count = CountCharacters(page, source, length);
        return count > maxLength ? 0 : static_cast<int>(count);
    }
    const UInt8* const end = source + length;
    UInt16* target = result;
    UInt16* const targetEnd = result + resultLength;
    while (source != end) {
        // As many bytes as there is room for units need no further look at the room.
        const USize room = static_cast<USize>(targetEnd - target);
        const USize slice = std::min(static_cast<USize>(end - source) - 1, room);
        if (room == 0) {
            return 0;
        }
        if (slice == 0) {
            *target++ = page.isLead[*source] ? page.undefined : page.singles[*source];
            ++source;
        } else {
            target = DecodeSlice(page, source, source + slice, target);
        }
    }
    return static_cast<int>(target - result);
}

int EncodeDoubleBytes(const DoubleBytePage& page, const UInt16* text, USize length, char* result,
                      int resultLength, bool lossy) noexcept
{
    if (resultLength == 0) {
        const USize bytes = CountBytes(page, text, length, lossy);
        return bytes > maxLength ? 0 : static_cast<int>(bytes);
    }
    UInt8* target = reinterpret_cast<UInt8*>(result);
    UInt8* const targetEnd = target + resultLength;
    for (USize i = 0; i < length;) {
        const UInt16* const codes = lossy ? page.codes : page.exact;
        USize slice = std::min(length - i, static_cast<USize>(targetEnd - target) / 2);
        if (slice == 0) {
            // The last byte, if there is one.
            if (target == targetEnd || codes[text[i]] >= 0x100) {
                return 0;
            }
            slice = 1;
        }
        target = lossy ? EncodeSlice<false>(codes, text + i, slice, target)
                       : EncodeSlice<true>(codes, text + i, slice, target);
        if (target == nullptr) {
            return 0;
        }
        i += slice;
    }
    return static_cast<int>(target - reinterpret_cast<UInt8*>(result));
}

int ReferenceDecodeDoubleBytes(const DoubleBytePage& page, const char* text, USize length, UInt16* result,
                               int resultLength) noexcept
{
    const USize capacity = GetCapacity(resultLength);
    USize units = 0;
    for (USize i = 0; i < length; ++i, ++units) {
        if (units == capacity) {
            return 0;
        }
        const UInt8 byte = static_cast<UInt8>(text[i]);
        UInt16 unit = page.singles[byte];
        if (page.isLead[byte]) {
            const bool paired = i + 1 < length && text[i + 1] != 0;
            unit = paired ? page.DecodePair(byte, static_cast<UInt8>(text[++i])) : page.undefined;
        }
        if (resultLength != 0) {
            result[units] = unit;
        }
    }
    return static_cast<int>(units);
}

int ReferenceEncodeDoubleBytes(const DoubleBytePage& page, const UInt16* text, USize length, char* result,
                               int resultLength, bool lossy) noexcept
{
    const USize capacity = GetCapacity(resultLength);
    USize bytes = 0;
    for (USize i = 0; i < length; ++i) {
        const UInt16 code = page.codes[text[i]];
        const USize size = code < 0x100 ? 1 : 2;
        if ((!lossy && page.Decode(code) != text[i]) || size > capacity - bytes) {
            return 0;
        }
        if (resultLength != 0) {
            if (size == 2) {
                result[bytes] = static_cast<char>(code >> 8);
            }
            result[bytes + size - 1] = static_cast<char>(code);
        }
        bytes += size;
    }
    return static_cast<int>(bytes);
}

} // namespace QV::Impl
