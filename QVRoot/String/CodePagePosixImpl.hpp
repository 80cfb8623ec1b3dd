/// Code pages where the operating system has none: tables, built when a page is first used.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV::Impl {

constexpr UInt32 utf8Page = 65001;

/// The page for the codeset of the environment's locale; 1252 when it is none of the known.
UInt32 GetSystemPage() noexcept;

/// The byte of each unit: with best fits, and '?' where there is none; and where the byte means just that
/// unit, 0 where there is none.
struct SingleByteEncoding {
    UInt8 bytes[0x10000];
    UInt8 exact[0x10000];
};

/// A page of one and two bytes per character, the first of two from 0x81 to 0xFE.
struct DoubleBytePage {
    static constexpr UInt32 firstLead = 0x81;
    static constexpr UInt32 leadCount = 0xFE - firstLead + 1;

    UInt16 undefined;               ///< what stands for a code that means nothing
    UInt8 isLead[0x100];            ///< 1 for the first byte of two
    UInt16 singles[0x100];          ///< the unit of each byte that stands alone
    UInt16 pairs[leadCount][0x100]; ///< the unit of each pair, by first byte less `firstLead`
    UInt16 codes[0x10000];          ///< the one or two bytes of each unit, with best fits
    UInt16 exact[0x10000];          ///< where they mean just that unit; 0 where there are none

    UInt16 DecodePair(UInt8 lead, UInt8 trail) const { return pairs[lead - firstLead][trail]; }
    UInt16 Decode(UInt16 code) const
    {
        return code < 0x100 ? singles[code]
                            : DecodePair(static_cast<UInt8>(code >> 8), static_cast<UInt8>(code));
    }
};

/// Texts of such a page. `resultLength` 0 asks for the length; the answer 0 is a failure.
int DecodeDoubleBytes(const DoubleBytePage& page, const char* text, USize length, UInt16* result,
                      int resultLength) noexcept;
int EncodeDoubleBytes(const DoubleBytePage& page, const UInt16* text, USize length, char* result,
                      int resultLength, bool lossy) noexcept;

/// The same, written down one character at a time.
int ReferenceDecodeDoubleBytes(const DoubleBytePage& page, const char* text, USize length, UInt16* result,
                               int resultLength) noexcept;
int ReferenceEncodeDoubleBytes(const DoubleBytePage& page, const UInt16* text, USize length, char* result,
                               int resultLength, bool lossy) noexcept;

/// Null for a page of another kind, and for one that could not be built.
const SingleByteEncoding* GetSingleByteEncoding(UInt32 page) noexcept;
const DoubleBytePage* GetDoubleBytePage(UInt32 page) noexcept;

} // namespace QV::Impl
