/// Tells on standard error which stage runs and how far it is. On a terminal that is one line, written over
/// again and again behind what stands there already; elsewhere each stage gets a line.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>
#include <chrono>
#include <string>

namespace Tour {

class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Begin(const char* stage);
    /// What `Advance` counts up to; 0: unknown.
    void Expect(QV::UInt32 total);
    /// May be called on any thread.
    void Advance() noexcept { done_.fetch_add(1, std::memory_order_relaxed); }
    /// To be called now and then while a stage runs. Throws `InterruptedException` when the user wants the
    /// program to end.
    void Tick();

private:
    void Show(const std::string& text);

    const bool isTerminal_;
    const char* stage_ = "";
    QV::UInt32 total_ = 0;
    std::atomic<QV::UInt32> done_ = 0;
    std::size_t shown_ = 0; ///< characters on the line
    std::chrono::steady_clock::time_point last_;
};

} // namespace Tour
