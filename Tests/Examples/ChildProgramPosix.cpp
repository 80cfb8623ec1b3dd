// The runs of the thread sanitizer start programs, too.
#include "ChildProgram.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace QV::Test {

ChildProgram::ChildProgram(const std::string& name, const std::vector<std::string>& arguments,
                           const std::filesystem::path& output)
{
    std::vector<std::string> texts = {
        (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string()};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, 1, output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&files, 1, 2);
    // The tests may run where interrupts are ignored.
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &interrupt);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t child = 0;
    if (posix_spawn(&child, pointers[0], &files, &attributes, pointers.data(), environ) == 0) {
        process_ = child;
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
}

ChildProgram::~ChildProgram()
{
    Wait();
}

bool ChildProgram::Interrupt()
{
    return process_ != 0 && kill(static_cast<pid_t>(process_), SIGINT) == 0;
}

int ChildProgram::Wait()
{
    for (int i = 0; process_ != 0; ++i) {
        int status = 0;
        if (waitpid(static_cast<pid_t>(process_), &status, WNOHANG) != 0) {
            exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
            process_ = 0;
        } else if (i == 6000) {
            kill(static_cast<pid_t>(process_), SIGKILL);
        } else {
            usleep(10000);
        }
    }
    return exitCode_;
}

} // namespace QV::Test
