#include <Host/CommandLine.hpp>

#include <cerrno>
#include <cstdlib>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace QV::Host {

namespace {

std::string ToUTF8(const UniString& text)
{
    return std::string(text.ToCStr(0, UniString::Npos, UTF8CharCode).GetText());
}

} // namespace

Array<UniString> CollectArguments(int count, char** arguments)
{
    Array<UniString> result;
    for (int i = 1; i < count; ++i) {
        result.Emplace(arguments[i], UTF8CharCode);
    }
    return result;
}

void PrepareConsole() noexcept {}

bool IsErrorOutputTerminal() noexcept
{
    return isatty(STDERR_FILENO) != 0;
}

QVErrCode RunSelf(const Array<UniString>& arguments, const UniString& variable, const UniString& value,
                  int* exitCode)
{
    std::vector<std::string> texts{"/proc/self/exe"};
    for (const UniString& argument : arguments) {
        texts.push_back(ToUTF8(argument));
    }
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);

    setenv(ToUTF8(variable).c_str(), ToUTF8(value).c_str(), 1);
    pid_t child = 0;
    const int error = posix_spawn(&child, pointers[0], nullptr, nullptr, pointers.data(), environ);
    unsetenv(ToUTF8(variable).c_str());
    if (error != 0) {
        return ErrGeneral;
    }
    int status = 0;
    while (waitpid(child, &status, 0) == -1) {
        if (errno != EINTR) {
            return ErrGeneral;
        }
    }
    *exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return NoError;
}

} // namespace QV::Host
