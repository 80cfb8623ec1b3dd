#include "System.hpp"

#include "WideWin.hpp"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

namespace QVLog {

namespace {

std::string Narrow(const wchar_t* text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), size, nullptr, nullptr);
    narrow.resize(size > 0 ? narrow.size() - 1 : 0);
    return narrow;
}

} // namespace

std::wstring Widen(const std::string& text)
{
    const int length = static_cast<int>(text.size());
    std::wstring wide(
        static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), static_cast<int>(wide.size()));
    return wide;
}

std::vector<std::string> GetArguments(int, char**)
{
    std::vector<std::string> texts;
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; i < count; ++i) {
        texts.push_back(Narrow(wide[i]));
    }
    LocalFree(wide);
    return texts;
}

bool PrepareTerminal()
{
    const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(output, &mode) && SetConsoleOutputCP(CP_UTF8) &&
           SetConsoleMode(output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

void MakeOutputBinary()
{
    _setmode(_fileno(stdout), _O_BINARY);
}

std::FILE* OpenForWriting(const std::string& path)
{
    return _wfopen(Widen(path).c_str(), L"wb");
}

/// The system's own temporary files need rights in the root of the drive.
std::FILE* OpenTemporary()
{
    wchar_t folder[MAX_PATH + 1];
    wchar_t path[MAX_PATH + 1];
    if (GetTempPathW(MAX_PATH, folder) == 0 || GetTempFileNameW(folder, L"qvl", 0, path) == 0) {
        return nullptr;
    }
    const HANDLE handle = CreateFileW(path, GENERIC_READ | GENERIC_WRITE | DELETE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        return nullptr;
    }
    const int descriptor = _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_RDWR | _O_BINARY);
    if (descriptor < 0) {
        CloseHandle(handle);
        return nullptr;
    }
    return _fdopen(descriptor, "w+b");
}

bool SeekTo(std::FILE* file, std::uint64_t offset)
{
    return _fseeki64(file, static_cast<long long>(offset), SEEK_SET) == 0;
}

} // namespace QVLog
