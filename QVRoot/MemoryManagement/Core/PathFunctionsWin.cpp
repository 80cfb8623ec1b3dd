#include <QVRoot/MemoryManagement/Core/PathFunctionsImpl.hpp>

#include <cstdio>
#include <cstdlib>
#include <cwchar>

#include <direct.h>

namespace QV::Impl::Paths {

namespace {

static_assert(sizeof(wchar_t) == sizeof(UInt16));

wchar_t* Wide(UInt16* text) noexcept
{
    return reinterpret_cast<wchar_t*>(text);
}

const wchar_t* Wide(const UInt16* text) noexcept
{
    return reinterpret_cast<const wchar_t*>(text);
}

UInt16* Units(wchar_t* text) noexcept
{
    return reinterpret_cast<UInt16*>(text);
}

} // namespace

char* GetFull(char* buffer, const char* path, USize length) noexcept
{
    return _fullpath(buffer, path, length);
}

UInt16* GetFull(UInt16* buffer, const UInt16* path, USize length) noexcept
{
    return Units(_wfullpath(Wide(buffer), Wide(path), length));
}

char* GetCurrent(char* buffer, int length) noexcept
{
    return _getcwd(buffer, length < 0 ? 0 : length);
}

UInt16* GetCurrent(UInt16* buffer, int length) noexcept
{
    return Units(_wgetcwd(Wide(buffer), length < 0 ? 0 : length));
}

char* GetTemporary(const char* directory, const char* prefix) noexcept
{
    return _tempnam(directory, prefix);
}

UInt16* GetTemporary(const UInt16* directory, const UInt16* prefix) noexcept
{
    return Units(_wtempnam(Wide(directory), Wide(prefix)));
}

} // namespace QV::Impl::Paths
