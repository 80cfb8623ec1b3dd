#include "ChildProgram.hpp"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace QV::Test {

namespace {

HANDLE ToHandle(long long process)
{
    return reinterpret_cast<HANDLE>(process);
}

} // namespace

ChildProgram::ChildProgram(const std::string& name, const std::vector<std::string>& arguments,
                           const std::filesystem::path& output)
{
    std::wstring self(32768, L'\0');
    self.resize(GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size())));
    const std::filesystem::path program = std::filesystem::path(self).parent_path() / (name + ".exe");
    std::wstring line = L"\"" + program.wstring() + L"\"";
    for (const std::string& argument : arguments) {
        line += L" \"" + std::filesystem::u8path(argument).wstring() + L"\"";
    }
    // An interrupt goes through the console that both share.
    AllocConsole();
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    const HANDLE file = CreateFileW(output.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    &inherited, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    STARTUPINFOW start = {};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = file;
    start.hStdError = file;
    PROCESS_INFORMATION process = {};
    if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_NEW_PROCESS_GROUP,
                       nullptr, nullptr, &start, &process)) {
        CloseHandle(process.hThread);
        process_ = reinterpret_cast<long long>(process.hProcess);
    }
    CloseHandle(file);
}

ChildProgram::~ChildProgram()
{
    Wait();
}

bool ChildProgram::Interrupt()
{
    // A group of its own can be sent this one only.
    return process_ != 0 && GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, GetProcessId(ToHandle(process_)));
}

int ChildProgram::Wait()
{
    if (process_ != 0) {
        if (WaitForSingleObject(ToHandle(process_), 60000) == WAIT_OBJECT_0) {
            DWORD code = 0;
            GetExitCodeProcess(ToHandle(process_), &code);
            exitCode_ = static_cast<int>(code);
        } else {
            TerminateProcess(ToHandle(process_), 1);
        }
        CloseHandle(ToHandle(process_));
        process_ = 0;
    }
    return exitCode_;
}

} // namespace QV::Test
