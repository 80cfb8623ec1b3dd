#include <QVRoot/MemoryManagement/Core/SystemHeapImpl.hpp>

#include <cstdio>
#include <cwchar>

#include <malloc.h>
#include <windows.h>

namespace QV::Impl::SystemHeap {

USize GetBlockSize(void* block) noexcept
{
    return _msize(block);
}

bool Check() noexcept
{
    return _heapchk() == _HEAPOK;
}

namespace {

/// The registry key that holds the heap settings of the running program, by its file name.
bool OpenProgramOptions(HKEY& key) noexcept
{
    wchar_t program[MAX_PATH + 1];
    const DWORD length = GetModuleFileNameW(nullptr, program, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return false;
    }
    program[length] = L'\0';
    const wchar_t* const separator = std::wcsrchr(program, L'\\');
    wchar_t path[2 * MAX_PATH];
    std::wcscpy(path, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options\\");
    std::wcscat(path, separator == nullptr ? program : separator + 1);
    return RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key) == ERROR_SUCCESS;
}

bool ReadPageHeapFlag() noexcept
{
    constexpr unsigned int fullPageHeap = 0x02000000;
    HKEY key;
    if (!OpenProgramOptions(key)) {
        return false;
    }
    char text[128 + 1];
    DWORD size = 128;
    DWORD type = 0;
    const LSTATUS status =
        RegQueryValueExA(key, "GlobalFlag", nullptr, &type, reinterpret_cast<BYTE*>(text), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS || type != REG_SZ) {
        return false;
    }
    text[size] = '\0';
    unsigned int flags = 0;
    return std::sscanf(text, "%x", &flags) == 1 && (flags & fullPageHeap) != 0;
}

} // namespace

bool IsPageHeapEnabled() noexcept
{
    static const bool enabled = ReadPageHeapFlag();
    return enabled;
}

} // namespace QV::Impl::SystemHeap
