/// The test program once more, running one test of its own choice until it ends or is killed.
#pragma once

#include <cstdint>
#include <string>

namespace QV::Test {

class ChildProcess {
public:
    /// Starts the test, which is disabled otherwise; its output is dropped. It sees an environment variable
    /// in addition.
    ChildProcess(const std::string& test, const std::string& variable, const std::string& value);
    /// Kills it if it still runs.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    bool IsStarted() const { return process_ > 0; }
    /// Ends it at once, in the middle of whatever it does.
    void Kill();

private:
    std::int64_t process_ = 0;
};

} // namespace QV::Test
