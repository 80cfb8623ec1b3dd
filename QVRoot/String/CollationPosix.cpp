#include <QVRoot/String/AsciiOrderPosixImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>
#include <QVRoot/String/Search/TextSearchImpl.hpp>
#include <QVRoot/Threading/CriticalSectionImpl.hpp>

#include <unicode/ucol.h>
#include <unicode/uloc.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace QV::Impl {

namespace {

/// The locale for comparisons as the environment names it. The C library's own locale has no order of texts
/// to speak of, so that it stands for the root of all orders.
void GetCollationLocale(char (&locale)[ULOC_FULLNAME_CAPACITY])
{
    locale[0] = 0;
    for (const char* variable : {"LC_ALL", "LC_COLLATE", "LANG"}) {
        const char* const name = std::getenv(variable);
        if (name == nullptr || *name == 0) {
            continue;
        }
        const bool plain = std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0 ||
                           std::strncmp(name, "C.", 2) == 0;
        UErrorCode error = U_ZERO_ERROR;
        if (plain || uloc_canonicalize(name, locale, ULOC_FULLNAME_CAPACITY, &error) <= 0 ||
            U_FAILURE(error) || error == U_STRING_NOT_TERMINATED_WARNING) {
            locale[0] = 0;
        }
        return;
    }
}

UCollator* OpenCollator(UCollationStrength strength, bool numeric)
{
    char locale[ULOC_FULLNAME_CAPACITY];
    GetCollationLocale(locale);
    UErrorCode error = U_ZERO_ERROR;
    UCollator* const collator = ucol_open(locale, &error);
    if (U_FAILURE(error)) {
        return nullptr;
    }
    // Texts that are canonically the same are equal, in whatever order their marks are written.
    ucol_setAttribute(collator, UCOL_NORMALIZATION_MODE, UCOL_ON, &error);
    ucol_setStrength(collator, strength);
    ucol_setAttribute(collator, UCOL_NUMERIC_COLLATION, numeric ? UCOL_ON : UCOL_OFF, &error);
    return collator;
}

int FindZero(const UInt16* text, int length)
{
    const UInt32 zero = FindFirst({text, static_cast<UInt32>(length)}, 0);
    return zero == searchFailed ? length : static_cast<int>(zero);
}

/// The collators of the user's locale for one kind of order: opened on first use and kept, since opening is
/// slow; never closed, since texts may be compared until the process ends. Nobody changes them, so all
/// threads may use them.
class Collation {
public:
    /// With `numeric` digits count as numbers, and texts end at their first zero.
    constexpr explicit Collation(bool numeric) : numeric_(numeric) {}

    TextOrder Compare(const UInt16* text1, int length1, const UInt16* text2, int length2,
                      bool ignoreCase) noexcept
    {
        if (text1 == nullptr || text2 == nullptr || !IsOpen()) {
            return TextOrderFailed;
        }
        const TextOrder order = ascii_.Compare(text1, length1, text2, length2, ignoreCase);
        if (order != AsciiOrder::undecided) [[likely]] {
            return order;
        }
        if (numeric_) {
            length1 = FindZero(text1, length1);
            length2 = FindZero(text2, length2);
        }
        switch (ucol_strcoll(ignoreCase ? ignoreCase_ : caseSensitive_, reinterpret_cast<const UChar*>(text1),
                             length1, reinterpret_cast<const UChar*>(text2), length2)) {
        case UCOL_LESS:
            return TextLess;
        case UCOL_GREATER:
            return TextGreater;
        default:
            return TextEqual;
        }
    }

private:
    /// False when there is none, for lack of memory or of data. It can be tried again.
    bool IsOpen()
    {
        if (!isOpen_.load(std::memory_order_acquire)) [[unlikely]] {
            static constinit CriticalSection section;
            const CriticalSectionGuard guard(section);
            if (!isOpen_.load(std::memory_order_relaxed)) {
                Open();
            }
            return isOpen_.load(std::memory_order_relaxed);
        }
        return true;
    }

    void Open()
    {
        if (caseSensitive_ == nullptr) {
            caseSensitive_ = OpenCollator(UCOL_TERTIARY, numeric_);
        }
        if (ignoreCase_ == nullptr) {
            ignoreCase_ = OpenCollator(UCOL_SECONDARY, numeric_);
        }
        if (caseSensitive_ != nullptr && ignoreCase_ != nullptr) {
            ascii_.Learn(caseSensitive_);
            isOpen_.store(true, std::memory_order_release);
        }
    }

    const bool numeric_;
    std::atomic<bool> isOpen_ = false;
    UCollator* caseSensitive_ = nullptr;
    UCollator* ignoreCase_ = nullptr;
    AsciiOrder ascii_;
};

constinit Collation plainOrder(false);
constinit Collation naturalOrder(true);

} // namespace

TextOrder CompareText(const UInt16* text1, int length1, const UInt16* text2, int length2,
                      bool ignoreCase) noexcept
{
    return plainOrder.Compare(text1, length1, text2, length2, ignoreCase);
}

TextOrder CompareTextNaturally(const UInt16* text1, int length1, const UInt16* text2, int length2,
                               bool ignoreCase) noexcept
{
    return naturalOrder.Compare(text1, length1, text2, length2, ignoreCase);
}

} // namespace QV::Impl
