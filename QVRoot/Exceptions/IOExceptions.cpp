#include <QVRoot/Exceptions/ExceptionMembersImpl.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

namespace QV {

QV_DEFINE_EXCEPTION(IOException, ErrGeneral)
QV_DEFINE_EXCEPTION(DataIntegrityException, ErrDataIntegrity)
QV_DEFINE_EXCEPTION(UnexpectedEndOfInputDataIntegrityException, ErrDataIntegrity)
QV_DEFINE_EXCEPTION(EndOfInputException, ErrEndOfInput)
QV_DEFINE_EXCEPTION(ReadErrorException, ErrRead)
QV_DEFINE_EXCEPTION(OutputIsFullException, ErrOutputFull)
QV_DEFINE_EXCEPTION(WriteErrorException, ErrWrite)
QV_DEFINE_EXCEPTION(ClosedChannelException, ErrGeneral)
QV_DEFINE_EXCEPTION(InterruptedIOException, ErrGeneral)
QV_DEFINE_EXCEPTION(MemoryOBinaryChannelBufferFullException, ErrGeneral)
QV_DEFINE_EXCEPTION(ProcessException, ErrGeneral)
QV_DEFINE_EXCEPTION(ProcessAccessDeniedException, ErrGeneral)
QV_DEFINE_EXCEPTION(ProcessNotFoundException, ErrGeneral)

} // namespace QV
