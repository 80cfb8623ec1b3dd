/// Zero-terminated UTF-8 text: what CharText.hpp does for any code page, under its rules.
///
///     if (Unicode::UTF8::SearchSubstring(line, "stra\xC3\x9F" "e", CaseInsensitiveType) != nullptr) { ... }
///
/// Lengths and capacities are bytes. A malformed sequence is a character that equals only itself.
///
/// Threads: any. Errors: results only, nothing throws. Allocation: only where texts of more than 256 units
/// are compared.
#pragma once

#include <QVRoot/String/TextRules.hpp>

namespace QV::Unicode::UTF8 {

/// Characters before the terminator, or in the given bytes, zeros included. A null text has none.
QV_EXPORT int CountOfCharacters(const char* text) noexcept;
QV_EXPORT int CountOfCharacters(const char* text, int length) noexcept;

/// The character behind the first; the terminator gives itself.
QV_EXPORT const char* GetNextCharPtr(const char* text) noexcept;
QV_EXPORT char* GetNextCharPtr(char* text) noexcept;

/// The last character, or the last that begins before `end`; `text` itself when there is none.
QV_EXPORT const char* GetLastCharPtr(const char* text) noexcept;
QV_EXPORT char* GetLastCharPtr(char* text) noexcept;
QV_EXPORT const char* GetLastCharPtr(const char* text, const char* end) noexcept;
QV_EXPORT char* GetLastCharPtr(char* text, const char* end) noexcept;

/// The first and the last occurrence of an ASCII character, or of the first character of another text.
QV_EXPORT const char* SearchCharLeftPtr(const char* text, char character) noexcept;
QV_EXPORT char* SearchCharLeftPtr(char* text, char character) noexcept;
QV_EXPORT const char* SearchCharLeftPtr(const char* text, const char* character) noexcept;
QV_EXPORT char* SearchCharLeftPtr(char* text, const char* character) noexcept;
QV_EXPORT const char* SearchCharRightPtr(const char* text, char character) noexcept;
QV_EXPORT char* SearchCharRightPtr(char* text, char character) noexcept;
QV_EXPORT const char* SearchCharRightPtr(const char* text, const char* character) noexcept;
QV_EXPORT char* SearchCharRightPtr(char* text, const char* character) noexcept;

QV_EXPORT const char* SearchSubstring(const char* text, const char* part,
                                      CaseType caseType = CaseSensitiveType) noexcept;
QV_EXPORT char* SearchSubstring(char* text, const char* part, CaseType caseType = CaseSensitiveType) noexcept;

/// In the order of the user's locale: below 0, 0, above 0. A length of -1 means zero-terminated.
QV_EXPORT int CompareStrings(const char* text1, int length1, const char* text2, int length2,
                             CaseType caseType = CaseSensitiveType) noexcept;
QV_EXPORT int CompareCStrings(const char* text1, const char* text2,
                              CaseType caseType = CaseSensitiveType) noexcept;

/// Whether the bytes are the same; ignoring case, whether `CompareCStrings` finds no other difference.
QV_EXPORT bool IsEqualCStrings(const char* text1, const char* text2,
                               CaseType caseType = CaseSensitiveType) noexcept;

/// Copies what fits `capacity` bytes with the terminator, and answers the length without it.
QV_EXPORT int Copy(const char* source, char* destination, int capacity) noexcept;

/// Cuts a text down to at most `maxBytes` bytes and answers its length.
QV_EXPORT int Truncate(char* text, int maxBytes) noexcept;

/// In place, where characters stay whose counterpart has another number of bytes; or into another buffer.
QV_EXPORT int ToLower(char* text) noexcept;
QV_EXPORT int ToLower(const char* source, char* destination, int capacity) noexcept;
QV_EXPORT int ToUpper(char* text) noexcept;
QV_EXPORT int ToUpper(const char* source, char* destination, int capacity) noexcept;

/// The class of the first character.
QV_EXPORT bool IsAlnum(const char* text) noexcept;
QV_EXPORT bool IsAlpha(const char* text) noexcept;
QV_EXPORT bool IsDigit(const char* text) noexcept;
QV_EXPORT bool IsHexaDigit(const char* text) noexcept;

} // namespace QV::Unicode::UTF8
