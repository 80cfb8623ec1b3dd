#include <QVRoot/Exceptions/ExceptionMembersImpl.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV {

QV_DEFINE_EXCEPTION(RootException, ErrGeneral)
QV_DEFINE_EXCEPTION(GeneralException, ErrGeneral)
QV_DEFINE_EXCEPTION(LogicErrorException, ErrGeneral)
QV_DEFINE_EXCEPTION(RunTimeErrorException, ErrGeneral)
QV_DEFINE_EXCEPTION(PreconditionException, ErrParam)
QV_DEFINE_EXCEPTION(IllegalArgumentException, ErrParam)
QV_DEFINE_EXCEPTION(RecursionException, ErrParam)
QV_DEFINE_EXCEPTION(NullPointerException, ErrParam)
QV_DEFINE_EXCEPTION(NullHandleException, ErrParam)
QV_DEFINE_EXCEPTION(NullReferenceException, ErrParam)
QV_DEFINE_EXCEPTION(EmptyHandleException, ErrParam)
QV_DEFINE_EXCEPTION(IllegalReferenceException, ErrParam)
QV_DEFINE_EXCEPTION(IllegalTypeException, ErrParam)
QV_DEFINE_EXCEPTION(IllegalStateException, ErrGeneral)
QV_DEFINE_EXCEPTION(InternalErrorException, ErrGeneral)
QV_DEFINE_EXCEPTION(LimitViolationException, ErrGeneral)
QV_DEFINE_EXCEPTION(UnsupportedOperationException, ErrGeneral)
QV_DEFINE_EXCEPTION(AccessViolationException, ErrGeneral)
QV_DEFINE_EXCEPTION(ConversionErrorException, ErrGeneral)
QV_DEFINE_EXCEPTION(OutOfMemoryException, ErrMemoryFull)

const char* OutOfMemoryException::what() const noexcept
{
    return "OutOfMemoryException";
}

AbortException::AbortException(const UniString& message, const char* file, UInt32 line)
    : QVException(message, file, line, NoCauseException, ErrAborted)
{
}

AbortException::AbortException(const UniString& message, const char* file, UInt32 line,
                               const QVException& cause)
    : QVException(message, file, line, cause, ErrAborted)
{
}

AbortException::AbortException(const char* message, const char* file, UInt32 line)
    : QVException(message, file, line, NoCauseException, ErrAborted)
{
}

AbortException::AbortException(const char* message, const char* file, UInt32 line, const QVException& cause)
    : QVException(message, file, line, cause, ErrAborted)
{
}

AddressSpaceMirror::MemoryAccessException::MemoryAccessException(const UniString& message, const char* file,
                                                                 UInt32 line, const QVException& cause,
                                                                 int code)
    : QVException(message, file, line, cause, code)
{
}

AddressSpaceMirror::MemoryAccessException::MemoryAccessException(const char* message, const char* file,
                                                                 UInt32 line, const QVException& cause,
                                                                 int code)
    : QVException(message, file, line, cause, code)
{
}

} // namespace QV
