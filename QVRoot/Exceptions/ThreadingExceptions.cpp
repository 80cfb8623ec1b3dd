#include <QVRoot/Exceptions/ExceptionMembersImpl.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>

namespace QV {

QV_DEFINE_EXCEPTION(ThreadingException, ErrGeneral)
QV_DEFINE_EXCEPTION(SynchronizationException, ErrGeneral)
QV_DEFINE_EXCEPTION(BrokenBarrierException, ErrGeneral)
QV_DEFINE_EXCEPTION(DeadlockException, ErrGeneral)
QV_DEFINE_EXCEPTION(IllegalMonitorStateException, ErrGeneral)
QV_DEFINE_EXCEPTION(InterruptedException, ErrGeneral)
QV_DEFINE_EXCEPTION(TimeoutException, ErrGeneral)
QV_DEFINE_EXCEPTION(CancellationException, ErrGeneral)
QV_DEFINE_EXCEPTION(ClassCastException, ErrGeneral)
QV_DEFINE_EXCEPTION(ExecutionException, ErrGeneral)
QV_DEFINE_EXCEPTION(IllegalThreadStateException, ErrGeneral)
QV_DEFINE_EXCEPTION(RejectedExecutionException, ErrGeneral)

} // namespace QV
