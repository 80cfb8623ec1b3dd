#include <Tests/Support/ChildProcess.hpp>

#include <windows.h>

namespace QV::Test {

ChildProcess::ChildProcess(const std::string& test, const std::string& variable, const std::string& value)
{
    char program[MAX_PATH];
    GetModuleFileNameA(nullptr, program, MAX_PATH);
    std::string command =
        "\"" + std::string(program) + "\" --gtest_filter=" + test + " --gtest_also_run_disabled_tests";
    SetEnvironmentVariableA(variable.c_str(), value.c_str());
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES; // without handles the output goes nowhere
    PROCESS_INFORMATION started;
    if (CreateProcessA(program, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                       &started)) {
        CloseHandle(started.hThread);
        process_ = reinterpret_cast<std::int64_t>(started.hProcess);
    }
    SetEnvironmentVariableA(variable.c_str(), nullptr);
}

ChildProcess::~ChildProcess()
{
    Kill();
}

void ChildProcess::Kill()
{
    if (process_ > 0) {
        const auto process = reinterpret_cast<HANDLE>(process_);
        TerminateProcess(process, 9);
        WaitForSingleObject(process, INFINITE);
        CloseHandle(process);
        process_ = 0;
    }
}

} // namespace QV::Test
