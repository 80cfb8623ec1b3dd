#include <Tests/Support/ChildProcess.hpp>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace QV::Test {

ChildProcess::ChildProcess(const std::string& test, const std::string& variable, const std::string& value)
{
    const std::string filter = "--gtest_filter=" + test;
    process_ = fork();
    if (process_ == 0) {
        const int null = open("/dev/null", O_WRONLY);
        dup2(null, 1);
        setenv(variable.c_str(), value.c_str(), 1);
        execl("/proc/self/exe", "tests", filter.c_str(), "--gtest_also_run_disabled_tests", nullptr);
        _exit(127);
    }
}

ChildProcess::~ChildProcess()
{
    Kill();
}

void ChildProcess::Kill()
{
    if (process_ > 0) {
        kill(static_cast<pid_t>(process_), SIGKILL);
        waitpid(static_cast<pid_t>(process_), nullptr, 0);
        process_ = 0;
    }
}

} // namespace QV::Test
