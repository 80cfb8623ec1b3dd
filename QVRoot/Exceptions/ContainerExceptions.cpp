#include <QVRoot/Exceptions/ContainerExceptions.hpp>
#include <QVRoot/Exceptions/ExceptionMembersImpl.hpp>

namespace QV {

QV_DEFINE_EXCEPTION(ContainerException, ErrGeneral)
QV_DEFINE_EXCEPTION(VAException, ErrGeneral)
QV_DEFINE_EXCEPTION(VAIllegalIndexException, ErrParam)
QV_DEFINE_EXCEPTION(VAIncompatibleTypeException, ErrParam)
QV_DEFINE_EXCEPTION(VALogicErrorException, ErrGeneral)

} // namespace QV
