#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/String/CharCode.hpp>
#include <QVRoot/String/CharCodeImpl.hpp>
#include <QVRoot/String/PlatformTextImpl.hpp>

#include <array>
#include <atomic>

namespace QV {

namespace {

using Variable = std::atomic<QVCharCode>;

constinit Variable defaultCode = UTF8CharCode;
constinit Variable systemCode = SystemCharCode; // unresolved
constinit Variable userCode = UserCharCode;     // unresolved
constinit Variable legacyCode = DefaultCharCode;

QVCharCode Load(const Variable& variable)
{
    return variable.load(std::memory_order_relaxed);
}

void Store(Variable& variable, QVCharCode code)
{
    variable.store(code, std::memory_order_relaxed);
}

/// Puts what a value stands for in its place, unless another thread has set the variable in the meantime.
QVCharCode Resolve(Variable& variable, QVCharCode unresolved, QVCharCode resolved)
{
    variable.compare_exchange_strong(unresolved, resolved, std::memory_order_relaxed);
    return resolved;
}

struct PageOfCode {
    QVCharCode code;
    UInt32 page;
};

constexpr PageOfCode pagesOfCodes[] = {
    {WesternCharCode, 1252},
    {CentralEuropeanCharCode, 1250},
    {CyrillicCharCode, 1251},
    {GreekCharCode, 1253},
    {TurkishCharCode, 1254},
    {HebrewCharCode, 1255},
    {ArabicCharCode, 1256},
    {BalticCharCode, 1257},
    {ThaiCharCode, 874},
    {JapaneseCharCode, 932},
    {SimplifiedChineseCharCode, 936},
    {KoreanCharCode, 949},
    {TraditionalChineseCharCode, 950},
    {UTF16CharCode, 1200},
};

constexpr UInt32 symbolPage = 42;

/// By code; 0 for one that is not in the table. The symbol code has a page that does not lead back to it.
constexpr auto pageOfCode = [] {
    std::array<UInt16, UTF16CharCode + 1> pages = {};
    for (const PageOfCode& entry : pagesOfCodes) {
        pages[entry.code] = static_cast<UInt16>(entry.page);
    }
    pages[SymbolCharCode] = 1252;
    return pages;
}();

} // namespace

QVCharCode CHGetCharCode(UInt32 codePage)
{
    if (codePage == symbolPage) {
        return SymbolCharCode;
    }
    for (const PageOfCode& entry : pagesOfCodes) {
        if (entry.page == codePage) {
            return entry.code;
        }
    }
    return SystemCharCode;
}

UInt32 CHGetCodePage(QVCharCode code)
{
    code = Impl::ResolveCharCode(code);
    return code < pageOfCode.size() ? pageOfCode[code] : 0;
}

bool CHSingleByteCharacters(QVCharCode code)
{
    code = Impl::ResolveCharCode(code);
    return (code < ThaiCharCode || code > KoreanCharCode) && code != UTF8CharCode && code != UTF16CharCode;
}

QVCharCode CHGetDefaultCharCode()
{
    const QVCharCode code = Load(defaultCode);
    switch (code) {
    case SystemCharCode:
        return Resolve(defaultCode, code, CHGetSystemCharCode());
    case UserCharCode:
        return Resolve(defaultCode, code, CHGetUserCharCode());
    case LegacyCharCode:
        return Load(legacyCode) == DefaultCharCode ? code : Resolve(defaultCode, code, CHGetLegacyCharCode());
    default:
        return code;
    }
}

QVCharCode CHGetSystemCharCode()
{
    const QVCharCode code = Load(systemCode);
    return code == SystemCharCode ? Resolve(systemCode, code, Impl::GetSystemCharCode()) : code;
}

QVCharCode CHGetUserCharCode()
{
    const QVCharCode code = Load(userCode);
    return code == UserCharCode ? Resolve(userCode, code, Impl::GetUserCharCode()) : code;
}

QVCharCode CHGetLegacyCharCode()
{
    const QVCharCode code = Load(legacyCode);
    switch (code) {
    case DefaultCharCode:
        return Resolve(legacyCode, code, CHGetDefaultCharCode());
    case SystemCharCode:
        return Resolve(legacyCode, code, CHGetSystemCharCode());
    case UserCharCode:
        return Resolve(legacyCode, code, CHGetUserCharCode());
    case LegacyCharCode:
        return DefaultCharCode;
    default:
        return code;
    }
}

void CHSetDefaultCharCode(QVCharCode code)
{
    if (code != DefaultCharCode) {
        Store(defaultCode, code);
    }
}

void CHSetLegacyCharCode(QVCharCode code)
{
    if (code != LegacyCharCode) {
        Store(legacyCode, code);
    }
}

namespace {

QVCharCode ChooseGuardCode()
{
    const bool legacy = DBGetBool("QUILLON", "forceNonUTF8DefaultCharCode", false);
    return legacy ? LegacyCharCode : UTF8CharCode;
}

} // namespace

DefaultCharCodeGuard::DefaultCharCodeGuard() : DefaultCharCodeGuard(ChooseGuardCode()) {}

DefaultCharCodeGuard::DefaultCharCodeGuard(QVCharCode code) : saved_(CHGetDefaultCharCode())
{
    CHSetDefaultCharCode(code);
}

DefaultCharCodeGuard::~DefaultCharCodeGuard()
{
    CHSetDefaultCharCode(saved_);
}

namespace Impl {

QVCharCode ResolveCharCode(QVCharCode code)
{
    // The variables may name each other, in a circle at worst: each gets one chance.
    for (int chance = 0; chance < 4; ++chance) {
        switch (code) {
        case DefaultCharCode:
            code = CHGetDefaultCharCode();
            break;
        case SystemCharCode:
            code = CHGetSystemCharCode();
            break;
        case UserCharCode:
            code = CHGetUserCharCode();
            break;
        case LegacyCharCode:
            code = CHGetLegacyCharCode();
            break;
        default:
            return code;
        }
    }
    return code;
}

} // namespace Impl

} // namespace QV
