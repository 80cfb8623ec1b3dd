/// What the operating system knows about text: the seam below characters, strings and code pages.
///
/// On Windows every function is one system call. Elsewhere the same answers come from ICU and from tables
/// that were made from the answers of Windows: code pages, case and width agree to the unit; the order of
/// texts is the locale's own.
///
/// Lengths are bytes and UTF-16 units. A null text is a failure, except where a null destination of length 0
/// asks for the length. Nothing throws. Threads: everything may be called from any thread.
#pragma once

#include <QVRoot/String/CharCode.hpp>

namespace QV::Impl {

/// The answers of a comparison as the operating system numbers them.
enum TextOrder : int { TextOrderFailed = 0, TextLess = 1, TextEqual = 2, TextGreater = 3 };

/// Compares in the user's locale.
TextOrder CompareText(const UInt16* text1, int length1, const UInt16* text2, int length2,
                      bool ignoreCase) noexcept;

/// The same with runs of digits compared as numbers, and each text up to its first zero only.
TextOrder CompareTextNaturally(const UInt16* text1, int length1, const UInt16* text2, int length2,
                               bool ignoreCase) noexcept;

enum class TextMapping { LowerCase, UpperCase, HalfWidth, FullWidth };

/// Maps into `result` and answers the units written, or with `resultLength` 0 the units needed; 0 on failure,
/// which includes a result that is too short. For case, `result` may be the text itself.
int MapText(TextMapping mapping, const UInt16* text, int length, UInt16* result, int resultLength) noexcept;

/// The forms in the order of `UniChar::NormalizationFormType`.
enum class NormalizationForm { D, C, KD, KC };

enum class NormalizationStatus {
    Done,
    TooSmall,    ///< the answer is the negative of a better size
    InvalidText, ///< unpaired surrogates or noncharacters
    Failed,
};

/// The units that a result may need, a guess; negative on failure.
int EstimateNormalizedLength(NormalizationForm form, const UInt16* text, int length) noexcept;
/// Answers the units written. A positive answer is a success whatever the status, others are to be judged by
/// it.
int NormalizeText(NormalizationForm form, const UInt16* text, int length, UInt16* result, int resultLength,
                  NormalizationStatus& status) noexcept;

/// The code page of the system and of the user's locale.
QVCharCode GetSystemCharCode() noexcept;
QVCharCode GetUserCharCode() noexcept;

/// Decodes text of a code page, by the operating system's number; page 0 is the system's. Length -1 means
/// zero-terminated. Answers the units written, or with `resultLength` 0 the units needed; 0 on failure.
int DecodeCodePage(UInt32 page, const char* text, int length, UInt16* result, int resultLength) noexcept;
/// The way back. With `lossy` a similar character or the page's default character stands for what the page
/// does not have; without, that is a failure.
int EncodeCodePage(UInt32 page, const UInt16* text, int length, char* result, int resultLength,
                   bool lossy) noexcept;

/// The unit of each byte for a page whose every byte is a character; null for other pages.
const UInt16* FindSingleByteTable(UInt32 page) noexcept;
/// `DecodeCodePage` by such a table.
int DecodeSingleBytes(const UInt16* table, const char* text, int length, UInt16* result,
                      int resultLength) noexcept;

} // namespace QV::Impl
