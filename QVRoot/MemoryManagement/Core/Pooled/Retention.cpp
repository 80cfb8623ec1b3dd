#include <QVRoot/MemoryManagement/Core/Pooled/RetentionImpl.hpp>

#include <chrono>

namespace QV::Impl::Pooled {

UInt64 GetMilliseconds() noexcept
{
    using namespace std::chrono;
    return static_cast<UInt64>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

} // namespace QV::Impl::Pooled
