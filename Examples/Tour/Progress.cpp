#include "Progress.hpp"

#include <cstdio>

namespace Tour {

Progress::~Progress()
{
    std::fputc('\n', stderr);
}

void Progress::Begin(const char* stage)
{
    std::fprintf(stderr, "  %s", stage);
    std::fflush(stderr);
    last_ = std::chrono::steady_clock::now();
}

void Progress::Tick()
{
    const auto now = std::chrono::steady_clock::now();
    if (now - last_ >= std::chrono::seconds(1)) {
        last_ = now;
        std::fputc('.', stderr);
        std::fflush(stderr);
    }
}

} // namespace Tour
