#include <QVRoot/Threading/Executor.hpp>

#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV {

Executor::~Executor() = default;

void Executor::Execute(RunnableTask task)
{
    if (task.IsNull()) {
        QV_THROW(IllegalArgumentException, "Invalid task: task is null.");
    }
    Accept(std::move(task));
}

void Executor::Wait(bool interruptible)
{
    AwaitTermination(Timeout::Infinite, interruptible);
}

bool Executor::Wait(UInt32 timeoutMs, bool interruptible, UInt32* remaining)
{
    return AwaitTermination(timeoutMs, interruptible, remaining);
}

bool Executor::Wait(const Timeout& timeout, bool interruptible, UInt32* remaining)
{
    return AwaitTermination(timeout(), interruptible, remaining);
}

} // namespace QV
