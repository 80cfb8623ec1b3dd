#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/Threading/SpinLockImpl.hpp>
#include <QVRoot/Utilities/GuidGeneratorImpl.hpp>

#include <atomic>

namespace QV {

namespace {

constinit std::atomic<bool> isDeterministic = false;
constinit std::atomic<UInt32> nextTicket = 0;
constinit std::atomic<UInt32> nowServing = 0;
constinit UInt64 counter = 1; // touched only by the ticket that is served

/// The scope in which the counter is the caller's. Callers are served in the order in which they came, and
/// nothing in the scope may throw.
class Turn {
public:
    Turn() noexcept
    {
        const UInt32 before = nextTicket.fetch_add(1, std::memory_order_relaxed);
        for (UInt32 round = 0; nowServing.load(std::memory_order_acquire) != before; ++round) {
            Impl::YieldWhileSpinning(round);
        }
    }
    ~Turn() { nowServing.fetch_add(1, std::memory_order_release); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
};

/// A thread that was served when the process forked does not exist in the child.
void ForgetOtherTurns() noexcept
{
    nowServing.store(nextTicket.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

Guid MakeNextGuid() noexcept
{
    const Turn turn;
    const UInt64 number = counter++;
    return Guid(static_cast<UInt32>(number), static_cast<UInt16>(number >> 32),
                static_cast<UInt16>(number >> 48), {});
}

} // namespace

QVErrCode Guid::Generate() noexcept
{
    if (isDeterministic.load(std::memory_order_relaxed)) [[unlikely]] {
        *this = MakeNextGuid();
        return NoError;
    }
    return Impl::GenerateRandomGuid(*this) ? NoError : ErrGuidGenerate;
}

void Guid::GenerateDeterministicGuids() noexcept
{
    if (!isDeterministic.exchange(true, std::memory_order_relaxed)) {
        Impl::CallAfterFork(ForgetOtherTurns);
    }
}

void Guid::RestartDeterministicGuidGenerator() noexcept
{
    const Turn turn;
    counter = 1;
}

} // namespace QV
