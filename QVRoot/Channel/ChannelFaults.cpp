#include <QVRoot/Channel/ChannelFaultsImpl.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

namespace QV::Impl {

namespace {

QVException MakeCause(QVErrCode code)
{
    return QVException(static_cast<const char*>(nullptr), QV_SOURCE_FILE, __LINE__, nullptr, code);
}

} // namespace

void ThrowReadFault(QVErrCode code)
{
    switch (code) {
    case ErrMemoryFull:
        QV_THROW(OutOfMemoryException, "no memory for reading");
    case ErrDataIntegrity:
        QV_THROW(DataIntegrityException, "the input violates its format");
    case ErrEndOfInput:
        QV_THROW(EndOfInputException, "the input ends");
    case ErrRead:
        QV_THROW(ReadErrorException, "the channel cannot be read");
    default:
        QV_THROW_CAUSED(ReadErrorException, "the channel cannot be read", MakeCause(code));
    }
}

void ThrowWriteFault(QVErrCode code)
{
    switch (code) {
    case ErrMemoryFull:
        QV_THROW(OutOfMemoryException, "no memory for writing");
    case ErrOutputFull:
        QV_THROW(OutputIsFullException, "the output is full");
    case ErrWrite:
        QV_THROW(WriteErrorException, "the channel cannot be written");
    default:
        QV_THROW_CAUSED(WriteErrorException, "the channel cannot be written", MakeCause(code));
    }
}

} // namespace QV::Impl
