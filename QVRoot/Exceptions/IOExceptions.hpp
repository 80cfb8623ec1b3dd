/// Faults of input and output, and of processes.
///
/// Every class has the four constructors of `QV_EXCEPTION_MEMBERS`: a message as `UniString` or as
/// `const char*`, source file and line, with or without a cause. Its code is fixed; every edge of the tree is
/// a virtual base, so that a class is caught through each of its parents.
#pragma once

#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV {

/// Input or output failed.
class QV_EXPORT IOException : public virtual GeneralException {
    QV_EXCEPTION_MEMBERS(IOException)
};

/// Input violates the format being read.
class QV_EXPORT DataIntegrityException : public virtual IOException {
    QV_EXCEPTION_MEMBERS(DataIntegrityException)
};

/// Input ended where its format promises more.
class QV_EXPORT UnexpectedEndOfInputDataIntegrityException : public virtual DataIntegrityException {
    QV_EXCEPTION_MEMBERS(UnexpectedEndOfInputDataIntegrityException)
};

/// Input ended before the requested data.
class QV_EXPORT EndOfInputException : public virtual IOException {
    QV_EXCEPTION_MEMBERS(EndOfInputException)
};

/// Reading failed.
class QV_EXPORT ReadErrorException : public virtual IOException {
    QV_EXCEPTION_MEMBERS(ReadErrorException)
};

/// The output cannot take more data.
class QV_EXPORT OutputIsFullException : public virtual IOException {
    QV_EXCEPTION_MEMBERS(OutputIsFullException)
};

/// Writing failed.
class QV_EXPORT WriteErrorException : public virtual IOException {
    QV_EXCEPTION_MEMBERS(WriteErrorException)
};

/// The channel is closed.
class QV_EXPORT ClosedChannelException : public virtual IOException {
    QV_EXCEPTION_MEMBERS(ClosedChannelException)
};

/// Input or output was interrupted.
class QV_EXPORT InterruptedIOException : public virtual IOException {
    QV_EXCEPTION_MEMBERS(InterruptedIOException)
};

/// A memory channel's buffer has reached its limit.
class QV_EXPORT MemoryOBinaryChannelBufferFullException : public virtual IOException {
    QV_EXCEPTION_MEMBERS(MemoryOBinaryChannelBufferFullException)
};

/// An operation on a process failed.
class QV_EXPORT ProcessException : public virtual GeneralException {
    QV_EXCEPTION_MEMBERS(ProcessException)
};

/// The system denies access to the process.
class QV_EXPORT ProcessAccessDeniedException : public virtual ProcessException {
    QV_EXCEPTION_MEMBERS(ProcessAccessDeniedException)
};

/// There is no such process.
class QV_EXPORT ProcessNotFoundException : public virtual ProcessException {
    QV_EXCEPTION_MEMBERS(ProcessNotFoundException)
};

} // namespace QV
