#include <QVRoot/BasicEnvironment/DebugOutputImpl.hpp>

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace QV::Impl {

void WriteDebugOutput(const char* text) noexcept
{
    static const bool wanted =
        std::getenv("QVROOT_DEBUG_OUTPUT") != nullptr || std::getenv("QVROOT_DEBUG_VALUES") != nullptr;
    if (!wanted) {
        return;
    }
    for (size_t left = std::strlen(text); left != 0;) {
        const ssize_t written = write(STDERR_FILENO, text, left);
        if (written <= 0) {
            return;
        }
        text += written;
        left -= static_cast<size_t>(written);
    }
}

} // namespace QV::Impl
