#include <QVRoot/BasicEnvironment/DebugOutputImpl.hpp>

#include <windows.h>

namespace QV::Impl {

void WriteDebugOutput(const char* text) noexcept
{
    OutputDebugStringA(text);
}

} // namespace QV::Impl
