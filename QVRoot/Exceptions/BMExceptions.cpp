#include <QVRoot/Exceptions/BMExceptions.hpp>
#include <QVRoot/Exceptions/ExceptionMembersImpl.hpp>

namespace QV {

QV_DEFINE_EXCEPTION(BMException, ErrGeneral)
QV_DEFINE_EXCEPTION(BMIllegalArgumentException, ErrParam)
QV_DEFINE_EXCEPTION(BMLogicErrorException, ErrGeneral)
QV_DEFINE_EXCEPTION(BMNullPointerException, ErrNullPointer)
QV_DEFINE_EXCEPTION(BMNullHandleException, ErrNilHandle)
QV_DEFINE_EXCEPTION(BMEmptyHandleException, ErrEmptyHandle)
QV_DEFINE_EXCEPTION(BMMemoryLockedException, ErrMemoryLocked)
QV_DEFINE_EXCEPTION(BMOutOfMemoryException, ErrMemoryFull)

} // namespace QV
