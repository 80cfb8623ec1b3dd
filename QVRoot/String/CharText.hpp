/// Zero-terminated 8-bit text in a given code page: stepping, searching, comparing, copying, case, lines.
///
///     for (const char* p = name; *p != 0; p = CHGetNextCharPtr(p, JapaneseCharCode)) { ... }
///     char shortName[32];
///     CHCopyC(name, shortName, sizeof(shortName), JapaneseCharCode);   // never half a character
///
/// Characters: one byte in a single-byte code page. In a double-byte code page a lead byte takes the byte
/// behind it along, whatever that is, but not the terminator. In UTF-8 a lead byte takes as many continuation
/// bytes along as it announces and as there are; any other byte from 0x80 is a character of its own. What is
/// not legal in UTF-8, and a pair of bytes that means nothing, is a character that has no case, belongs to no
/// class and equals only itself. `UTF16CharCode` stands for the process default.
///
/// Lengths and capacities are bytes. Every text may be null, which is then the answer, or no text: length 0,
/// nothing found, nothing written. Nothing is read behind a terminator.
///
/// Results: a capacity counts the terminator. What does not fit is cut between characters; the result is
/// terminated all the same, and the answer is its length without the terminator. A null destination with
/// capacity 0 asks for the length of the whole. The destination may be the source itself where a function
/// says so.
///
/// Threads: everything may be called from any thread. Errors: results only, nothing throws. Allocation: only
/// where texts of more than 256 units are compared.
#pragma once

#include <QVRoot/String/CharCode.hpp>
#include <QVRoot/String/TextRules.hpp>

namespace QV {

// Stepping.

/// Bytes of the first character; 0 at the terminator.
QV_EXPORT int CHCharBytes(const char* text, QVCharCode code = DefaultCharCode) noexcept;

/// The character behind the first; the terminator gives itself.
QV_EXPORT const char* CHGetNextCharPtr(const char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHGetNextCharPtr(char* text, QVCharCode code = DefaultCharCode) noexcept;

/// The last character; an empty text gives its terminator.
QV_EXPORT const char* CHGetLastCharPtr(const char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHGetLastCharPtr(char* text, QVCharCode code = DefaultCharCode) noexcept;

/// The last character that begins before `end`, for stepping backwards; at the beginning `text` itself. In a
/// double-byte code page this looks at everything before `end`.
QV_EXPORT const char* CHGetLastCharPtr(const char* text, const char* end,
                                       QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHGetLastCharPtr(char* text, const char* end, QVCharCode code = DefaultCharCode) noexcept;

// Searching. Answers are positions in the text, at a character's first byte; null when there is none. The
// terminator is not found.

/// The first and the last occurrence of a character: of one byte, or the first one of another text.
QV_EXPORT const char* CHSearchCharLeft(const char* text, char character,
                                       QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHSearchCharLeft(char* text, char character, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT const char* CHSearchCharLeft(const char* text, const char* character,
                                       QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHSearchCharLeft(char* text, const char* character,
                                 QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT const char* CHSearchCharRight(const char* text, char character,
                                        QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHSearchCharRight(char* text, char character, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT const char* CHSearchCharRight(const char* text, const char* character,
                                        QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHSearchCharRight(char* text, const char* character,
                                  QVCharCode code = DefaultCharCode) noexcept;

/// The first occurrence of the characters of `part`, one by one, also in another case if that is ignored. An
/// empty part is found at the beginning.
QV_EXPORT const char* CHSearchSubstring(const char* text, const char* part,
                                        CaseType caseType = CaseSensitiveType,
                                        QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHSearchSubstring(char* text, const char* part, CaseType caseType = CaseSensitiveType,
                                  QVCharCode code = DefaultCharCode) noexcept;

// Comparing. Answers below 0, 0 and above 0 for less, equal and greater. A null text is less than any other
// and equal to null.

/// Compares in the order of the user's locale, as `UniChar::Compare` does. What means nothing in the code
/// page counts as U+FFFD, or as what the code page has in its place. Without memory for texts of more than
/// 256 units, these are compared byte by byte.
QV_EXPORT int CHCompareTexts(const char* text1, const char* text2, CaseType caseType = CaseSensitiveType,
                             QVCharCode code = DefaultCharCode) noexcept;
/// The same for texts of given lengths, zeros included; -1 means zero-terminated.
QV_EXPORT int CHCompareTexts(const char* text1, int length1, const char* text2, int length2,
                             CaseType caseType = CaseSensitiveType,
                             QVCharCode code = DefaultCharCode) noexcept;

/// Compares byte by byte as unsigned numbers; ignoring case, 'A' to 'Z' count as 'a' to 'z' and no other
/// letter has a case. Meant for keywords.
QV_EXPORT int CHCompareASCII(const char* text1, const char* text2,
                             CaseType caseType = CaseSensitiveType) noexcept;

/// Compares the upper-case forms byte by byte, on both targets the way Windows tells file names apart. No
/// locale, and no rule for separators. What is not legal UTF-8 comes last.
QV_EXPORT int CHCompareFileNames(const char* name1, const char* name2,
                                 QVCharCode code = DefaultCharCode) noexcept;

/// Whether the bytes are the same.
QV_EXPORT bool CHEqualCStrings(const char* text1, const char* text2) noexcept;
/// Whether `CHCompareTexts` finds no difference but case.
QV_EXPORT bool CHEqualCStringsInsensitive(const char* text1, const char* text2,
                                          QVCharCode code = DefaultCharCode) noexcept;
/// Whether `CHCompareFileNames` finds no difference; the second for texts with a length byte in front.
QV_EXPORT bool CHEqualFileNames(const char* name1, const char* name2,
                                QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT bool CHEqualPFileNames(const unsigned char* name1, const unsigned char* name2,
                                 QVCharCode code = DefaultCharCode) noexcept;

// Lines.

/// The beginning of the next line, null when the text ends first. A line ends at a CR LF, a CR or an LF; a CR
/// LF is never taken for one of the others. `lineEnd` receives where the line ends, `eol` by what; without a
/// line end they receive the terminator, and nothing.
QV_EXPORT const char* CHGetNextLine(const char* text, const char** lineEnd = nullptr, EOLType* eol = nullptr,
                                    QVCharCode code = DefaultCharCode) noexcept;
/// The same where lines end in one way only.
QV_EXPORT const char* CHGetNextLine(const char* text, EOLType eol, const char** lineEnd = nullptr,
                                    QVCharCode code = DefaultCharCode) noexcept;

// Copying. Source and destination may overlap.

/// Cuts a text down to at most `maxBytes` bytes and answers its length.
QV_EXPORT int CHTruncate(char* text, int maxBytes, QVCharCode code = DefaultCharCode) noexcept;

QV_EXPORT int CHCopyC(const char* source, char* destination, int capacity,
                      QVCharCode code = DefaultCharCode) noexcept;

/// Texts with a length byte in front and no terminator: at most 255 bytes, and at most `capacity` with the
/// length byte. These do not answer the question for the length.
QV_EXPORT int CHCopyPascal(const unsigned char* source, unsigned char* destination, int capacity = 256,
                           QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT int CHc2pascal(const char* source, unsigned char* destination, int capacity = 256,
                         QVCharCode code = DefaultCharCode) noexcept;
/// The way back; a zero in the source ends the result.
QV_EXPORT int CHpascal2c(const unsigned char* source, char* destination, int capacity,
                         QVCharCode code = DefaultCharCode) noexcept;
/// In place: the terminator makes room for the length byte, and the other way round.
QV_EXPORT unsigned char* CHc2pascal(char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char* CHpascal2c(unsigned char* text) noexcept;

/// The text as the content of an XML element or attribute: & < > " ' as entities, a carriage return as
/// "&#13;", and '?' for control characters that XML does not know. An entity is not cut. Must not overlap.
QV_EXPORT int CHGetXMLString(const char* source, char* destination, int capacity,
                             QVCharCode code = DefaultCharCode) noexcept;

// Case. Characters map one to one by the table of `UniChar::ConvertCase`; one whose counterpart the code page
// does not have stays as it is.

/// A byte that is no character of its own stays.
QV_EXPORT char CHtoLower(char character, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT char CHtoUpper(char character, QVCharCode code = DefaultCharCode) noexcept;
/// In place; a character whose counterpart has another number of bytes stays as well. Answers the length.
QV_EXPORT int CHtoLower(char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT int CHtoUpper(char* text, QVCharCode code = DefaultCharCode) noexcept;
/// Into another buffer, which must not overlap.
QV_EXPORT int CHtoLower(const char* source, char* destination, int capacity,
                        QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT int CHtoUpper(const char* source, char* destination, int capacity,
                        QVCharCode code = DefaultCharCode) noexcept;

/// 'a' to 'z' only; second bytes of characters stay as they are.
QV_EXPORT char CHtoUpperASCII(char character) noexcept;
QV_EXPORT int CHtoUpperASCII(char* text, QVCharCode code = DefaultCharCode) noexcept;

/// One ASCII character for each: letters lose their marks, signs become the similar one, and '?' stands for
/// the rest. In place, or the destination may be the source.
QV_EXPORT char CHtoASCII(char character, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT int CHtoASCII(char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT int CHtoASCII(const char* source, char* destination, int capacity,
                        QVCharCode code = DefaultCharCode) noexcept;

// Classes: of the first character of a text, or of a byte that is a character of its own. A letter is one in
// Unicode, letter-like numbers included, up to U+FFFF; digits are '0' to '9'. No locale.

QV_EXPORT bool CHisAlnum(const char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT bool CHisAlnum(char character, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT bool CHisAlpha(const char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT bool CHisAlpha(char character, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT bool CHisDigit(const char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT bool CHisDigit(char character, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT bool CHisHexaDigit(const char* text, QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT bool CHisHexaDigit(char character, QVCharCode code = DefaultCharCode) noexcept;

// Conversion, under the rules of `CHANSI2Unicode`: a source of length -1 is converted with its terminator, a
// null destination of capacity 0 asks for the bytes needed, and 0 means failure: bad arguments, or a
// destination that is too small. There is no illegal text: what means nothing counts as U+FFFD, and what the
// code page does not have becomes a similar character or its default one.

QV_EXPORT int CHANSItoUTF8(const char* source, int sourceLength, char* destination, int capacity,
                           QVCharCode code = DefaultCharCode) noexcept;
QV_EXPORT int CHUTF8toANSI(const char* source, int sourceLength, char* destination, int capacity,
                           QVCharCode code = DefaultCharCode) noexcept;

} // namespace QV
