#include <QVRoot/String/AsciiOrderPosixImpl.hpp>

#include <unicode/uset.h>

#include <algorithm>
#include <cstring>

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

/// How many units the texts have in common from the start, in steps of four ASCII units.
int SkipCommonStart(const UInt16* text1, const UInt16* text2, int length)
{
    int position = 0;
    for (; position + 4 <= length; position += 4) {
        UInt64 units1;
        UInt64 units2;
        std::memcpy(&units1, text1 + position, sizeof(units1));
        std::memcpy(&units2, text2 + position, sizeof(units2));
        if (units1 != units2 || (units1 & 0xFF80FF80FF80FF80) != 0) {
            break;
        }
    }
    return position;
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
}

/// Whether the character counts for itself: what follows must be no mark that could join it.
bool AsciiOrder::IsDecided(const UInt16* text, int length, int position) const noexcept
{
    return text[position] < count && letters_[text[position]] != 0 &&
           (position + 1 == length || text[position + 1] < count);
}

std::optional<TextOrder> AsciiOrder::Compare(const UInt16* text1, int length1, const UInt16* text2,
                                             int length2, bool ignoreCase) const noexcept
{
    if (!usable_) {
        return {};
    }
    TextOrder tie = TextEqual;
    const int common = std::min(length1, length2);
    for (int i = SkipCommonStart(text1, text2, common); i < common; ++i) {
        if (!IsDecided(text1, length1, i) || !IsDecided(text2, length2, i)) {
            return {};
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
        return {};
    }
    return length1 < length2 ? TextLess : TextGreater;
}

} // namespace QV::Impl
