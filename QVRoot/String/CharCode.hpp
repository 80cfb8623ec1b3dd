/// The code pages of 8-bit text, the process-wide default, and the two conversions between 8-bit text and
/// UTF-16 that everything else rests on.
///
///     UInt16 units[16];
///     int count = CHANSI2Unicode("caf\xE9", -1, units, 16, WesternCharCode);   // 5, with the terminator
///
/// Lengths are bytes and UTF-16 units, signed 32-bit; -1 means zero-terminated.
///
/// Threads: everything may be called from any thread; the default code page is one value for the whole
/// process, so guards on two threads that overlap in time may leave the wrong default behind. Errors: results
/// only, nothing throws. Allocation: none, but on Linux ICU's own when a double-byte page is first used.
///
/// Every code page of the table gives the same bytes on both targets: those of Windows, down to best fits
/// (U+0100 is an 'A' in 1252), default characters and bytes that mean nothing.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

/// A code page. Values 0, 1, 2 and 4 stand for one that is looked up when it is used.
enum QVCharCode : UInt32 {
    DefaultCharCode = 0,  ///< the process default, see `CHGetDefaultCharCode`
    SystemCharCode = 1,   ///< the operating system's code page; on Linux that of the environment's locale
    UserCharCode = 2,     ///< the code page of the user's locale
    LegacyCharCode = 4,   ///< see `CHSetLegacyCharCode`
    WesternCharCode = 11, ///< 1252
    CentralEuropeanCharCode = 12,    ///< 1250
    BalticCharCode = 13,             ///< 1257
    CyrillicCharCode = 14,           ///< 1251
    GreekCharCode = 15,              ///< 1253
    TurkishCharCode = 16,            ///< 1254
    HebrewCharCode = 21,             ///< 1255
    ArabicCharCode = 22,             ///< 1256
    ThaiCharCode = 31,               ///< 874
    JapaneseCharCode = 32,           ///< 932
    TraditionalChineseCharCode = 33, ///< 950
    SimplifiedChineseCharCode = 34,  ///< 936
    KoreanCharCode = 35,             ///< 949
    SymbolCharCode = 40,             ///< 1252
    UTF8CharCode = 99,               ///< UTF-8, converted by the library itself
    UTF16CharCode = 100,             ///< UTF-16; as 8-bit text it means the process default
};

/// What a conversion to 8-bit text does with a character that the code page does not have.
enum OnConversionError {
    ConvertLossy = 0,           ///< takes a similar character or the code page's default character
    ThrowOnConversionError = 1, ///< fails: the string classes throw `ConversionErrorException`
};

/// Reserved for conversion state; may be null.
struct CHANSI2UnicodeCache;
struct CHUnicode2ANSICache;

/// Converts 8-bit text to UTF-16 and returns the units written; with a null destination of length 0 the units
/// needed. A zero-terminated source is converted with its terminator. 0 means failure: bad arguments, a
/// source that is illegal in the code page, or a destination that is too small. UTF-8 is strict.
QV_EXPORT int CHANSI2Unicode(const char* source, int sourceLength, unsigned short* destination,
                             int destinationLength, QVCharCode code,
                             const CHANSI2UnicodeCache** cache = nullptr);

/// Converts UTF-16 to 8-bit text and returns the bytes written; with a null destination of length 0 the bytes
/// needed. 0 means failure, as above; with `lossy` false also a character that the code page does not have.
QV_EXPORT int CHUnicode2ANSI(const unsigned short* source, int sourceLength, char* destination,
                             int destinationLength, QVCharCode code, bool lossy,
                             const CHUnicode2ANSICache** cache = nullptr);

/// Whether every character of the code page is one byte. True for values that are not in the table.
QV_EXPORT bool CHSingleByteCharacters(QVCharCode code);

/// The operating system's number of a code page, 0 (its own) for one that is not in the table and for UTF-8,
/// which is never left to the operating system.
QV_EXPORT UInt32 CHGetCodePage(QVCharCode code);
/// The code page with the operating system's number, `SystemCharCode` for one that is not in the table.
QV_EXPORT QVCharCode CHGetCharCode(UInt32 codePage);

/// The current values, resolved where they stand for another.
QV_EXPORT QVCharCode CHGetDefaultCharCode();
QV_EXPORT QVCharCode CHGetSystemCharCode();
QV_EXPORT QVCharCode CHGetUserCharCode();
QV_EXPORT QVCharCode CHGetLegacyCharCode();

/// Sets the process default, UTF-8 at first; 0 is ignored.
QV_EXPORT void CHSetDefaultCharCode(QVCharCode code);
/// Sets the legacy code page, 0 (none) at first; 4 is ignored.
QV_EXPORT void CHSetLegacyCharCode(QVCharCode code);

/// Changes the process default for a scope.
class QV_EXPORT DefaultCharCodeGuard {
public:
    /// UTF-8, or the legacy code page under the debug value "forceNonUTF8DefaultCharCode" of "QUILLON".
    DefaultCharCodeGuard();
    /// The given code page; 0 changes nothing.
    explicit DefaultCharCodeGuard(QVCharCode code);
    ~DefaultCharCodeGuard();
    DefaultCharCodeGuard(const DefaultCharCodeGuard&) = delete;
    DefaultCharCodeGuard& operator=(const DefaultCharCodeGuard&) = delete;

private:
    QVCharCode saved_;
};

} // namespace QV
