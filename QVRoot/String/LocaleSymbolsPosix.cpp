#include <QVRoot/String/LocaleSymbolsImpl.hpp>

#include <climits>
#include <cwchar>
#include <locale.h>

namespace QV::Impl {

namespace {

/// The first character of a text in the current locale, as UTF-16.
void TakeFirstCharacter(const char* text, UInt16* to)
{
    std::mbstate_t state{};
    wchar_t character = 0;
    // A text that does not convert is as good as none.
    const std::size_t length = std::mbrtowc(&character, text, MB_LEN_MAX, &state);
    if (length == 0 || length > MB_LEN_MAX) {
        return;
    }
    const auto code = static_cast<UInt32>(character);
    if (code < 0x10000) {
        *to = static_cast<UInt16>(code);
    } else {
        to[0] = static_cast<UInt16>((code >> 10) + 0xD7C0);
        to[1] = static_cast<UInt16>((code & 0x3FF) + 0xDC00);
    }
}

} // namespace

LocaleNumberTexts GetLocaleNumberTexts() noexcept
{
    LocaleNumberTexts texts;
    texts.decimal[0] = '.';
    texts.list[0] = ','; // the C library's locales have none
    texts.grouping[0] = '0';
    const locale_t locale = newlocale(LC_NUMERIC_MASK | LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return texts; // not installed
    }
    const locale_t previous = uselocale(locale);
    const lconv* const conventions = localeconv();
    texts.decimal[0] = 0;
    TakeFirstCharacter(conventions->decimal_point, texts.decimal);
    TakeFirstCharacter(conventions->thousands_sep, texts.thousands);
    MakeGroupingText(conventions->grouping, texts.grouping);
    uselocale(previous);
    freelocale(locale);
    return texts;
}

} // namespace QV::Impl
