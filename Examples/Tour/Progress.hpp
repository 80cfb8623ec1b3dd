/// One line per run on standard error, to which the name of each stage is added as it begins, and a dot for
/// each second that it takes.
#pragma once

#include <chrono>

namespace Tour {

class Progress {
public:
    Progress() = default;
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Begin(const char* stage);
    /// To be called now and then while a stage runs.
    void Tick();

private:
    std::chrono::steady_clock::time_point last_;
};

} // namespace Tour
