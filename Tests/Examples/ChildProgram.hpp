// A program of this build that a test starts and interrupts.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace QV::Test {

class ChildProgram {
public:
    // Starts the program of that name beside the test program; its output goes to the file.
    ChildProgram(const std::string& name, const std::vector<std::string>& arguments,
                 const std::filesystem::path& output);
    ~ChildProgram();
    ChildProgram(const ChildProgram&) = delete;
    ChildProgram& operator=(const ChildProgram&) = delete;

    // As a user's Ctrl-C does. Answers false when the system cannot do that here.
    bool Interrupt();
    // The exit code; -1 when the program did not end in order and in time.
    int Wait();

private:
    long long process_ = 0;
    int exitCode_ = -1;
};

} // namespace QV::Test
