#include <QVRoot/String/AsciiOrderPosixImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>
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

UCollator* OpenCollator(UCollationStrength strength)
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
    return collator;
}

/// The collators of the user's locale: opened on first use and kept, since opening is slow; never closed,
/// since texts may be compared until the process ends. Nobody changes them, so all threads may use them.
struct Collation {
    UCollator* caseSensitive = nullptr;
    UCollator* ignoreCase = nullptr;
    AsciiOrder ascii;

    /// False when that failed in part; it can be tried again.
    bool Open()
    {
        if (caseSensitive == nullptr) {
            caseSensitive = OpenCollator(UCOL_TERTIARY);
        }
        if (ignoreCase == nullptr) {
            ignoreCase = OpenCollator(UCOL_SECONDARY);
        }
        if (caseSensitive == nullptr || ignoreCase == nullptr) {
            return false;
        }
        ascii.Learn(caseSensitive);
        return true;
    }
};

constinit Collation collation;
constinit std::atomic<bool> isOpen = false;

/// Null when there is none, for lack of memory or of data.
const Collation* GetCollation()
{
    if (!isOpen.load(std::memory_order_acquire)) [[unlikely]] {
        static constinit CriticalSection section;
        const CriticalSectionGuard guard(section);
        if (!isOpen.load(std::memory_order_relaxed)) {
            if (!collation.Open()) {
                return nullptr;
            }
            isOpen.store(true, std::memory_order_release);
        }
    }
    return &collation;
}

} // namespace

TextOrder CompareText(const UInt16* text1, int length1, const UInt16* text2, int length2,
                      bool ignoreCase) noexcept
{
    const Collation* const open = GetCollation();
    if (text1 == nullptr || text2 == nullptr || open == nullptr) {
        return TextOrderFailed;
    }
    if (const auto order = open->ascii.Compare(text1, length1, text2, length2, ignoreCase)) {
        return *order;
    }
    const UCollator* const collator = ignoreCase ? open->ignoreCase : open->caseSensitive;
    switch (ucol_strcoll(collator, reinterpret_cast<const UChar*>(text1), length1,
                         reinterpret_cast<const UChar*>(text2), length2)) {
    case UCOL_LESS:
        return TextLess;
    case UCOL_GREATER:
        return TextGreater;
    default:
        return TextEqual;
    }
}

} // namespace QV::Impl
