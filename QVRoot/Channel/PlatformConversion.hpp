/// Data of one platform turned into those of another, in place: byte order, character sets, line ends, times.
///
///     PlatformSign writer = …;                                      // what the data came with
///     IVLongs(writer, counts, 100);                                 // for the running platform
///     IVCString(writer, name, WesternCharCode, WinPlatformSign);
///
/// The forms with two signs convert from the one platform to the other, those with one sign between that
/// platform and the running one. Bytes are swapped
///
/// | from          | to                                   |
/// |---------------|--------------------------------------|
/// | `Mac`         | `Win`, `WinLike` or `MacIntel`       |
/// | all but `Mac` | `Mac`                                |
///
/// and with one sign when that is `Mac`. Going there and back is the same call, so that readers and writers
/// share it. Values that are no sign are allowed: a Mac's data stay as they are on the way there.
///
/// Counts are elements; 0 and less do nothing. Data may lie at any address.
///
/// Threads: anything may be called from any thread. Errors: none. Allocation: none. Arrays are converted by
/// whole registers, about as fast as they could be copied.
#pragma once

#include <QVRoot/Channel/PlatformSign.hpp>
#include <QVRoot/String/CharCode.hpp>
#include <QVRoot/String/TextRules.hpp>

namespace QV {

/// Whether data that go from the one platform to the other must have their bytes swapped.
constexpr bool NeedByteSwap(PlatformSign from, PlatformSign to) noexcept
{
    const bool isLittle = to == WinPlatformSign || to == WinLikePlatformSign || to == MacIntelPlatformSign;
    return from == MacPlatformSign ? isLittle : to == MacPlatformSign;
}

/// @name Elements of one byte
/// These have no byte order and stay as they are.
/// @{
constexpr void IVBool(PlatformSign, PlatformSign, bool*) noexcept {}
constexpr void IVBools(PlatformSign, PlatformSign, bool*, int) noexcept {}
constexpr void IVSByte(PlatformSign, PlatformSign, Int8*) noexcept {}
constexpr void IVSBytes(PlatformSign, PlatformSign, Int8*, int) noexcept {}
constexpr void IVUByte(PlatformSign, PlatformSign, UInt8*) noexcept {}
constexpr void IVUBytes(PlatformSign, PlatformSign, UInt8*, int) noexcept {}

constexpr void IVBool(PlatformSign, bool*) noexcept {}
constexpr void IVBools(PlatformSign, bool*, int) noexcept {}
constexpr void IVSByte(PlatformSign, Int8*) noexcept {}
constexpr void IVSBytes(PlatformSign, Int8*, int) noexcept {}
constexpr void IVUByte(PlatformSign, UInt8*) noexcept {}
constexpr void IVUBytes(PlatformSign, UInt8*, int) noexcept {}
/// @}

/// @name Elements of 2 bytes
/// @{
QV_EXPORT void IVShort(PlatformSign from, PlatformSign to, Int16* value) noexcept;
QV_EXPORT void IVShorts(PlatformSign from, PlatformSign to, Int16* values, int count) noexcept;
QV_EXPORT void IVUShort(PlatformSign from, PlatformSign to, UInt16* value) noexcept;
QV_EXPORT void IVUShorts(PlatformSign from, PlatformSign to, UInt16* values, int count) noexcept;
/// UTF-16 text, unit by unit.
QV_EXPORT void IVUString(PlatformSign from, PlatformSign to, UInt16* units, UInt32 count) noexcept;

QV_EXPORT void IVShort(PlatformSign sign, Int16* value) noexcept;
QV_EXPORT void IVShorts(PlatformSign sign, Int16* values, int count) noexcept;
QV_EXPORT void IVUShort(PlatformSign sign, UInt16* value) noexcept;
QV_EXPORT void IVUShorts(PlatformSign sign, UInt16* values, int count) noexcept;
QV_EXPORT void IVUString(PlatformSign sign, UInt16* units, UInt32 count) noexcept;
/// @}

/// @name Elements of 4 bytes
/// @{
QV_EXPORT void IVLong(PlatformSign from, PlatformSign to, Int32* value) noexcept;
QV_EXPORT void IVLongs(PlatformSign from, PlatformSign to, Int32* values, int count) noexcept;
QV_EXPORT void IVULong(PlatformSign from, PlatformSign to, UInt32* value) noexcept;
QV_EXPORT void IVULongs(PlatformSign from, PlatformSign to, UInt32* values, int count) noexcept;
QV_EXPORT void IVFloat(PlatformSign from, PlatformSign to, float* value) noexcept;
QV_EXPORT void IVFloats(PlatformSign from, PlatformSign to, float* values, int count) noexcept;

QV_EXPORT void IVLong(PlatformSign sign, Int32* value) noexcept;
QV_EXPORT void IVLongs(PlatformSign sign, Int32* values, int count) noexcept;
QV_EXPORT void IVULong(PlatformSign sign, UInt32* value) noexcept;
QV_EXPORT void IVULongs(PlatformSign sign, UInt32* values, int count) noexcept;
QV_EXPORT void IVFloat(PlatformSign sign, float* value) noexcept;
QV_EXPORT void IVFloats(PlatformSign sign, float* values, int count) noexcept;
/// @}

/// @name Elements of 8 bytes
/// @{
QV_EXPORT void IVInt64(PlatformSign from, PlatformSign to, Int64* value) noexcept;
QV_EXPORT void IVInt64s(PlatformSign from, PlatformSign to, Int64* values, int count) noexcept;
QV_EXPORT void IVUInt64(PlatformSign from, PlatformSign to, UInt64* value) noexcept;
QV_EXPORT void IVUInt64s(PlatformSign from, PlatformSign to, UInt64* values, int count) noexcept;
QV_EXPORT void IVDouble(PlatformSign from, PlatformSign to, double* value) noexcept;
QV_EXPORT void IVDoubles(PlatformSign from, PlatformSign to, double* values, int count) noexcept;

QV_EXPORT void IVInt64(PlatformSign sign, Int64* value) noexcept;
QV_EXPORT void IVInt64s(PlatformSign sign, Int64* values, int count) noexcept;
QV_EXPORT void IVUInt64(PlatformSign sign, UInt64* value) noexcept;
QV_EXPORT void IVUInt64s(PlatformSign sign, UInt64* values, int count) noexcept;
QV_EXPORT void IVDouble(PlatformSign sign, double* value) noexcept;
QV_EXPORT void IVDoubles(PlatformSign sign, double* values, int count) noexcept;
/// @}

/// @name Text in 8-bit character sets
/// Translate a text between a code page and the Mac character set that it took the place of. ASCII stays, and
/// a text that goes there and back is as it was. Code pages without a counterpart change nothing: UTF-8, the
/// default at first, is one of them. The values 0, 1, 2 and 4 stand for a code page as everywhere.
///
/// From either Mac sign to `Win`, and from `Win` or `WinLike` to either Mac sign. Every other way changes
/// nothing, and so does the one from a Mac to `WinLike`: data that exist depend on it.
/// @{
/// The length is bytes; -1 stands for a text that ends with a zero, 0 and less for no text.
QV_EXPORT void IVChars(PlatformSign from, char* text, int length, QVCharCode code, PlatformSign to) noexcept;
/// A text that ends with a zero.
QV_EXPORT void IVCString(PlatformSign from, char* text, QVCharCode code, PlatformSign to) noexcept;
/// A text behind a byte with its length.
QV_EXPORT void IVPString(PlatformSign from, unsigned char* text, QVCharCode code, PlatformSign to) noexcept;
/// @}

/// Turns a time stamp, local seconds since 1904 in the byte order of its writer, into the library's time.
/// Zero, which is no time, stays; a time outside the range of 32 bits becomes 0, and so does every time when
/// there is no information about the zone.
QV_EXPORT void IVPlatformTime(PlatformSign sign, int* time) noexcept;

/// Copies a text with each CR, LF and CR LF replaced by what `eol` says, and returns the size of the copy in
/// bytes. With a room of 0 nothing is written, whatever the target. A source length of -1 stands for a text
/// that ends with a zero, which is copied, too.
///
/// 0, and nothing is written, when the room is too small, the source null or the target itself, the target
/// null, `eol` none of the three, or the size more than 2 GiB. The two must not overlap.
QV_EXPORT int IVEndofLine(const char* source, int sourceLength, char* target, int room, EOLType eol) noexcept;

} // namespace QV
