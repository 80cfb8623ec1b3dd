#include <QVRoot/String/AsciiOrderPosixImpl.hpp>

#include <unicode/uset.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include <emmintrin.h>

namespace QV::Impl {

namespace {

/// Opens a copy of a collator that looks no further than the given strength.
class WeakerCollator {
public:
    WeakerCollator(const UCollator* collator, UCollationStrength strength)
    {
        UErrorCode error = U_ZERO_ERROR;
        copy_ = ucol_clone(collator, &error);
        if (U_SUCCESS(error)) {
            ucol_setStrength(copy_, strength);
        }
    }
    ~WeakerCollator() { ucol_close(copy_); }
    WeakerCollator(const WeakerCollator&) = delete;
    WeakerCollator& operator=(const WeakerCollator&) = delete;

    const UCollator* Get() const { return copy_; }

private:
    UCollator* copy_ = nullptr;
};

/// Ranks from 1 upwards; characters that the collator takes for equal share one.
void RankLetters(const UCollator* collator, UInt8 (&ranks)[0x80])
{
    UChar letters[0x80];
    for (UChar c = 0; c < 0x80; ++c) {
        letters[c] = c;
    }
    const auto isLess = [collator](UChar a, UChar b) {
        return ucol_strcoll(collator, &a, 1, &b, 1) == UCOL_LESS;
    };
    std::sort(std::begin(letters), std::end(letters), isLess);
    UInt8 rank = 1;
    for (UInt32 i = 0; i < 0x80; ++i) {
        rank = static_cast<UInt8>(rank + (i != 0 && isLess(letters[i - 1], letters[i])));
        ranks[letters[i]] = rank;
    }
}

/// What the collator ignores sorts like an empty text.
void ForgetIgnored(const UCollator* collator, UInt8 (&ranks)[0x80])
{
    for (UChar c = 0; c < 0x80; ++c) {
        if (ucol_strcoll(collator, &c, 1, u"", 0) == UCOL_EQUAL) {
            ranks[c] = 0;
        }
    }
}

bool IsAsciiText(const UChar* text, int length)
{
    return std::all_of(text, text + length, [](UChar unit) { return unit < 0x80; });
}

/// Whether the set holds a character or a string of nothing but ASCII.
bool HoldsAscii(const USet* set)
{
    const int items = uset_getItemCount(set);
    for (int i = 0; i < items; ++i) {
        UChar32 first = 0;
        UChar32 last = 0;
        UChar text[64];
        UErrorCode error = U_ZERO_ERROR;
        const int length = uset_getItem(set, i, &first, &last, text, 64, &error);
        if (U_FAILURE(error) || (length == 0 ? first < 0x80 : IsAsciiText(text, length))) {
            return true;
        }
    }
    return false;
}

/// Whether every ASCII character counts for itself, whatever ASCII stands beside it.
bool StandAlone(const UCollator* collator)
{
    USet* const contractions = uset_openEmpty();
    USet* const expansions = uset_openEmpty();
    UErrorCode error = U_ZERO_ERROR;
    ucol_getContractionsAndExpansions(collator, contractions, expansions, false, &error);
    const bool alone = U_SUCCESS(error) && !HoldsAscii(contractions) && !HoldsAscii(expansions);
    uset_close(contractions);
    uset_close(expansions);
    return alone;
}

/// Whether accents never decide between ASCII characters.
bool HasNoAccents(const UCollator* secondary, const UInt8 (&letters)[0x80])
{
    UInt8 withAccents[0x80];
    RankLetters(secondary, withAccents);
    UInt8 without[0x80];
    std::memcpy(without, letters, sizeof(without));
    for (UInt32 a = 0; a < 0x80; ++a) {
        for (UInt32 b = 0; b < 0x80; ++b) {
            if (without[a] != 0 && without[a] == without[b] && withAccents[a] != withAccents[b]) {
                return false;
            }
        }
    }
    return true;
}

/// A bit pair for each of eight units that the texts have in common and that are ASCII and not zero.
UInt32 MatchEight(const UInt16* text1, const UInt16* text2)
{
    const __m128i units1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text1));
    const __m128i units2 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text2));
    const __m128i less = _mm_cmpgt_epi16(_mm_set1_epi16(0x80), units1);
    const __m128i more = _mm_cmpgt_epi16(units1, _mm_setzero_si128());
    const __m128i same = _mm_and_si128(_mm_cmpeq_epi16(units1, units2), _mm_and_si128(less, more));
    return static_cast<UInt32>(_mm_movemask_epi8(same));
}

/// How many units the texts have in common from the start, as far as they are ASCII and not zero.
int SkipCommonStart(const UInt16* text1, const UInt16* text2, int length)
{
    int position = 0;
    if (length >= 8) {
        for (; position <= length - 8; position += 8) {
            const UInt32 bits = MatchEight(text1 + position, text2 + position);
            if (bits != 0xFFFF) {
                return position + std::countr_one(bits) / 2;
            }
        }
        position = length - 8; // what is left, together with units that are known to match
        return position + std::countr_one(MatchEight(text1 + position, text2 + position)) / 2;
    }
    while (position < length && text1[position] == text2[position] && text1[position] - 1u < 0x7F) {
        ++position;
    }
    return position;
}

/// ASCII letters in lower case, whatever else as it is.
__m128i FoldCase(__m128i units)
{
    // Counted from 'A' without sign, only the capitals are below 26.
    const __m128i fromA = _mm_add_epi16(units, _mm_set1_epi16(static_cast<short>(0x8000 - 'A')));
    const __m128i capitals = _mm_cmplt_epi16(fromA, _mm_set1_epi16(static_cast<short>(0x8000 + 26)));
    return _mm_or_si128(units, _mm_and_si128(capitals, _mm_set1_epi16(0x20)));
}

/// The first place among the first eight to sixteen units where the texts differ in more than case; -1 when
/// there is none or when those units are not all ASCII other than zero. At least eight units are in common
/// reach. Without a branch, since nobody can foretell where two texts part.
int FindDifference(const UInt16* text1, const UInt16* text2, int common)
{
    const auto load = [](const UInt16* text) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    };
    const int second = std::min(common, 16) - 8;
    const __m128i first1 = load(text1);
    const __m128i first2 = load(text2);
    const __m128i second1 = load(text1 + second);
    const __m128i second2 = load(text2 + second);
    const __m128i any = _mm_or_si128(_mm_or_si128(first1, first2), _mm_or_si128(second1, second2));
    const __m128i least = _mm_min_epi16(_mm_min_epi16(first1, first2), _mm_min_epi16(second1, second2));
    const __m128i plain = _mm_and_si128(_mm_cmpgt_epi16(least, _mm_setzero_si128()),
                                        _mm_cmplt_epi16(any, _mm_set1_epi16(0x80)));
    const __m128i same = _mm_packs_epi16(_mm_cmpeq_epi16(FoldCase(first1), FoldCase(first2)),
                                         _mm_cmpeq_epi16(FoldCase(second1), FoldCase(second2)));
    const UInt32 differences = static_cast<UInt32>(_mm_movemask_epi8(same)) ^ 0xFFFF;
    if (_mm_movemask_epi8(plain) != 0xFFFF || differences == 0) {
        return -1;
    }
    const int place = std::countr_zero(differences);
    return place < 8 ? place : place - 8 + second;
}

} // namespace

void AsciiOrder::Learn(const UCollator* collator) noexcept
{
    const WeakerCollator primary(collator, UCOL_PRIMARY);
    const WeakerCollator secondary(collator, UCOL_SECONDARY);
    if (primary.Get() == nullptr || secondary.Get() == nullptr || !StandAlone(collator)) {
        return;
    }
    RankLetters(primary.Get(), letters_);
    RankLetters(collator, ranks_);
    ForgetIgnored(primary.Get(), letters_);
    usable_ = HasNoAccents(secondary.Get(), letters_);
    foldable_ = std::equal(&letters_['A'], &letters_['Z' + 1], &letters_['a']);
    UErrorCode error = U_ZERO_ERROR;
    numeric_ = ucol_getAttribute(collator, UCOL_NUMERIC_COLLATION, &error) == UCOL_ON;
}

/// Whether the character counts for itself: what follows must be no mark that could join it.
inline bool AsciiOrder::IsDecided(const UInt16* text, int length, int position) const noexcept
{
    return text[position] < count && letters_[text[position]] != 0 &&
           (position + 1 == length || text[position + 1] < count);
}

/// Compares texts that part within their first units, as most do.
inline TextOrder AsciiOrder::CompareStart(const UInt16* text1, int length1, const UInt16* text2,
                                          int length2) const noexcept
{
    const int place = FindDifference(text1, text2, std::min(length1, length2));
    if (place < 0 || !IsDecided(text1, length1, place) || !IsDecided(text2, length2, place)) {
        return undecided;
    }
    const UInt8 letter1 = letters_[text1[place]];
    const UInt8 letter2 = letters_[text2[place]];
    if (letter1 == letter2) {
        return undecided;
    }
    return letter1 < letter2 ? TextLess : TextGreater;
}

TextOrder AsciiOrder::Compare(const UInt16* text1, int length1, const UInt16* text2, int length2,
                              bool ignoreCase) const noexcept
{
    if (!usable_) {
        return undecided;
    }
    if (numeric_) {
        return CompareNaturally(text1, length1, text2, length2, ignoreCase);
    }
    const int common = std::min(length1, length2);
    if (common >= 8 && foldable_) {
        const TextOrder order = CompareStart(text1, length1, text2, length2);
        if (order != undecided) {
            return order;
        }
    }
    TextOrder tie = TextEqual;
    for (int i = 0;; ++i) {
        i += SkipCommonStart(text1 + i, text2 + i, common - i);
        if (i == common) {
            break;
        }
        if (!IsDecided(text1, length1, i) || !IsDecided(text2, length2, i)) {
            return undecided;
        }
        const UInt16 a = text1[i];
        const UInt16 b = text2[i];
        if (letters_[a] != letters_[b]) {
            return letters_[a] < letters_[b] ? TextLess : TextGreater;
        }
        if (tie == TextEqual && ranks_[a] != ranks_[b] && !ignoreCase) {
            tie = ranks_[a] < ranks_[b] ? TextLess : TextGreater;
        }
    }
    if (length1 == length2) {
        return tie;
    }
    const UInt16* const longer = length1 > length2 ? text1 : text2;
    if (!IsDecided(longer, std::max(length1, length2), common)) {
        return undecided;
    }
    return length1 < length2 ? TextLess : TextGreater;
}

namespace {

bool IsDigit(UInt16 unit)
{
    return unit >= '0' && unit <= '9';
}

/// A run of digits without the zeros before it.
struct Number {
    const UInt16* digits;
    int length;
};

/// Reads the number and moves behind it.
Number ReadNumber(const UInt16* text, int length, int& position)
{
    int first = position;
    while (position < length && IsDigit(text[position])) {
        ++position;
    }
    while (first + 1 < position && text[first] == '0') {
        ++first;
    }
    return {text + first, position - first};
}

TextOrder CompareNumbers(Number a, Number b)
{
    if (a.length != b.length) {
        return a.length < b.length ? TextLess : TextGreater;
    }
    const auto [i, j] = std::mismatch(a.digits, a.digits + a.length, b.digits);
    return i == a.digits + a.length ? TextEqual : *i < *j ? TextLess : TextGreater;
}

} // namespace

/// The same with numbers, which count by their value however many zeros they begin with. Longer numbers than
/// a collator takes in one piece are left to it.
TextOrder AsciiOrder::CompareNaturally(const UInt16* text1, int length1, const UInt16* text2, int length2,
                                       bool ignoreCase) const noexcept
{
    constexpr int mostDigits = 254;
    TextOrder tie = TextEqual;
    int i = SkipCommonStart(text1, text2, std::min(length1, length2));
    while (i > 0 && IsDigit(text1[i - 1])) {
        --i;
    }
    int j = i;
    while (i < length1 && j < length2) {
        if (!IsDecided(text1, length1, i) || !IsDecided(text2, length2, j)) {
            return undecided;
        }
        const UInt16 a = text1[i];
        const UInt16 b = text2[j];
        if (a == 0 || b == 0) {
            return undecided; // where the texts end
        }
        if (IsDigit(a) && IsDigit(b)) {
            const Number number1 = ReadNumber(text1, length1, i);
            const Number number2 = ReadNumber(text2, length2, j);
            const bool joined = (i < length1 && text1[i] >= count) || (j < length2 && text2[j] >= count);
            if (joined || number1.length > mostDigits || number2.length > mostDigits) {
                return undecided;
            }
            const TextOrder order = CompareNumbers(number1, number2);
            if (order != TextEqual) {
                return order;
            }
            continue;
        }
        if (letters_[a] != letters_[b]) {
            return letters_[a] < letters_[b] ? TextLess : TextGreater;
        }
        if (tie == TextEqual && ranks_[a] != ranks_[b] && !ignoreCase) {
            tie = ranks_[a] < ranks_[b] ? TextLess : TextGreater;
        }
        ++i;
        ++j;
    }
    if (i == length1 && j == length2) {
        return tie;
    }
    const bool decided = i < length1 ? IsDecided(text1, length1, i) : IsDecided(text2, length2, j);
    if (!decided) {
        return undecided;
    }
    return i == length1 ? TextLess : TextGreater;
}

} // namespace QV::Impl
