/// The kernels for instruction sets that can shuffle the bytes of a register, but not compress them: tables
/// give the shuffles. Included by the file of each such set, with a class `Ascii` for what its widest
/// registers do best. Everything here is private to the including file, so that no code for one set can stand
/// in for code of another.
///
/// The methods are those of the AVX-512 kernels with registers of 16 bytes. The ends of texts take the way
/// through a padded copy, since full registers read and write too much.
#pragma once

#include <QVRoot/String/Transcode/ShuffleDecodeImpl.hpp>
#include <QVRoot/String/Transcode/ShuffleEncodeImpl.hpp>

namespace QV::Impl {

namespace {

template <class Ascii>
bool IsAscii8(const char* text, USize length)
{
    const UInt8* source = reinterpret_cast<const UInt8*>(text);
    for (; length >= Ascii::length; source += Ascii::length, length -= Ascii::length) {
        if (!Ascii::IsAscii(source)) {
            return false;
        }
    }
    UInt32 bits = 0;
    for (; length != 0; --length) {
        bits |= *source++;
    }
    return bits < 0x80;
}

template <class Ascii>
bool IsAscii16(const unsigned short* source, USize length)
{
    for (; length >= Ascii::length; source += Ascii::length, length -= Ascii::length) {
        if (!Ascii::IsAscii(source)) {
            return false;
        }
    }
    UInt32 bits = 0;
    for (; length != 0; --length) {
        bits |= *source++;
    }
    return bits < 0x80;
}

template <class Ascii>
void Widen(const char* text, USize length, unsigned short* target)
{
    const UInt8* source = reinterpret_cast<const UInt8*>(text);
    for (; length >= Ascii::length; length -= Ascii::length) {
        Ascii::Widen(source, target);
        source += Ascii::length;
        target += Ascii::length;
    }
    for (; length != 0; --length) {
        *target++ = *source++;
    }
}

template <class Ascii>
void Narrow(const unsigned short* source, USize length, char* text)
{
    UInt8* target = reinterpret_cast<UInt8*>(text);
    for (; length >= Ascii::length; length -= Ascii::length) {
        Ascii::Narrow(source, target);
        source += Ascii::length;
        target += Ascii::length;
    }
    for (; length != 0; --length) {
        *target++ = static_cast<UInt8>(*source++);
    }
}

/// Reads whole aligned registers, which end where a page ends or before, hence not checked by the sanitizers.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] inline USize Length16(const unsigned short* text)
{
    const USize address = reinterpret_cast<USize>(text);
    const USize misfit = address % vectorBytes;
    const Vector* position = reinterpret_cast<const Vector*>(address - misfit);
    const Vector zero = _mm_setzero_si128();
    UInt32 zeros = GetMask(_mm_cmpeq_epi16(*position, zero)) >> misfit << misfit;
    while (zeros == 0) {
        ++position;
        zeros = GetMask(_mm_cmpeq_epi16(*position, zero));
    }
    const unsigned short* const block = reinterpret_cast<const unsigned short*>(position);
    return static_cast<USize>(block - text) + static_cast<USize>(__builtin_ctz(zeros)) / 2;
}

template <class Ascii>
constexpr TranscodeKernels MakeKernels(const char* name)
{
    return {name,           Decode<Ascii>,   Count<Ascii>,     Encode<Ascii>,
            Measure<Ascii>, IsAscii8<Ascii>, IsAscii16<Ascii>, Widen<Ascii>,
            Narrow<Ascii>,  Length16};
}

} // namespace

} // namespace QV::Impl