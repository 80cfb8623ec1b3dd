#include "Progress.hpp"

#include <Host/CommandLine.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Thread.hpp>

#include <algorithm>
#include <cstdio>

namespace Tour {

using namespace QV;

Progress::Progress() : isTerminal_(Host::IsErrorOutputTerminal()) {}

Progress::~Progress()
{
    if (isTerminal_) {
        Show("");
        std::fputc('\n', stderr);
    }
}

void Progress::Begin(const char* stage)
{
    stage_ = stage;
    total_ = 0;
    if (isTerminal_) {
        Show(stage);
        last_ = std::chrono::steady_clock::now();
    } else {
        std::fprintf(stderr, "  %s\n", stage);
        std::fflush(stderr);
    }
}

void Progress::Expect(UInt32 total)
{
    total_ = total;
    done_ = 0;
}

void Progress::Tick()
{
    if (Thread::Interrupted()) {
        QV_THROW(InterruptedException, "interrupted");
    }
    const auto now = std::chrono::steady_clock::now();
    if (isTerminal_ && now - last_ >= std::chrono::milliseconds(100)) {
        last_ = now;
        const std::string share = total_ == 0 ? "" : " " + std::to_string(UInt64{done_} * 100 / total_) + "%";
        Show(stage_ + share);
    }
}

void Progress::Show(const std::string& text)
{
    const std::size_t rest = shown_ > text.size() ? shown_ - text.size() : 0;
    const std::string line =
        std::string(shown_, '\b') + text + std::string(rest, ' ') + std::string(rest, '\b');
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
    shown_ = text.size();
}

} // namespace Tour
