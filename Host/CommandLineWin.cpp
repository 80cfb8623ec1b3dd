#include <Host/CommandLine.hpp>

#include <string>

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <shellapi.h>

namespace QV::Host {

namespace {

std::wstring ToWide(const UniString& text)
{
    const std::u16string_view units = text.GetView();
    return std::wstring(units.begin(), units.end());
}

/// Quotes an argument the way the runtime library takes it apart: backslashes count only before a quote.
void AppendQuoted(std::wstring& line, const std::wstring& argument)
{
    line += L'"';
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'"') {
            line.append(backslashes + 1, L'\\');
        }
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        line += c;
    }
    line.append(backslashes, L'\\');
    line += L'"';
}

} // namespace

Array<UniString> CollectArguments(int, char**)
{
    Array<UniString> result;
    int count = 0;
    LPWSTR* const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; i < count; ++i) {
        result.Emplace(reinterpret_cast<const unsigned short*>(arguments[i]));
    }
    LocalFree(arguments);
    return result;
}

void PrepareConsole() noexcept
{
    SetConsoleOutputCP(CP_UTF8);
}

bool IsErrorOutputTerminal() noexcept
{
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

QVErrCode RunSelf(const Array<UniString>& arguments, const UniString& variable, const UniString& value,
                  int* exitCode)
{
    std::wstring program(32768, L'\0');
    program.resize(GetModuleFileNameW(nullptr, program.data(), static_cast<DWORD>(program.size())));
    std::wstring line;
    AppendQuoted(line, program);
    for (const UniString& argument : arguments) {
        line += L' ';
        AppendQuoted(line, ToWide(argument));
    }

    SetEnvironmentVariableW(ToWide(variable).c_str(), ToWide(value).c_str());
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    PROCESS_INFORMATION process;
    const BOOL started = CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                        nullptr, &start, &process);
    SetEnvironmentVariableW(ToWide(variable).c_str(), nullptr);
    if (!started) {
        return ErrGeneral;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    *exitCode = code > 255 ? 255 : static_cast<int>(code); // a crash has a code with many bits
    return NoError;
}

} // namespace QV::Host
