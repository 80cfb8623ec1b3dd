#include <QVRoot/String/LocaleSymbolsImpl.hpp>

#include <windows.h>

namespace QV::Impl {

namespace {

template <int Size>
void Ask(LCTYPE item, UInt16 (&text)[Size])
{
    if (GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, item, reinterpret_cast<WCHAR*>(text), Size) == 0) {
        text[0] = 0;
    }
}

} // namespace

LocaleNumberTexts GetLocaleNumberTexts() noexcept
{
    LocaleNumberTexts texts;
    Ask(LOCALE_SDECIMAL, texts.decimal);
    Ask(LOCALE_STHOUSAND, texts.thousands);
    Ask(LOCALE_SLIST, texts.list);
    Ask(LOCALE_SGROUPING, texts.grouping);
    return texts;
}

} // namespace QV::Impl
