/// General faults: arguments, states, limits, conversions, memory.
///
/// Every class has the four constructors of `QV_EXCEPTION_MEMBERS`: a message as `UniString` or as
/// `const char*`, source file and line, with or without a cause. Its code is fixed; every edge of the tree is
/// a virtual base, so that a class is caught through each of its parents.
#pragma once

#include <QVRoot/Exceptions/QVException.hpp>

#include <new>

namespace QV {

/// The root of the container and the handle interface's exceptions.
class QV_EXPORT RootException : public virtual QVException {
    QV_EXCEPTION_MEMBERS(RootException)
};

/// The root of logic, run-time, input/output and process errors.
class QV_EXPORT GeneralException : public virtual QVException {
    QV_EXCEPTION_MEMBERS(GeneralException)
};

/// A fault in the program that calls.
class QV_EXPORT LogicErrorException : public virtual GeneralException {
    QV_EXCEPTION_MEMBERS(LogicErrorException)
};

/// A fault that only shows while the program runs.
class QV_EXPORT RunTimeErrorException : public virtual GeneralException {
    QV_EXCEPTION_MEMBERS(RunTimeErrorException)
};

/// The caller has broken a precondition.
class QV_EXPORT PreconditionException : public virtual LogicErrorException {
    QV_EXCEPTION_MEMBERS(PreconditionException)
};

/// An argument has a value that the operation does not accept.
class QV_EXPORT IllegalArgumentException : public virtual PreconditionException {
    QV_EXCEPTION_MEMBERS(IllegalArgumentException)
};

/// An operation was entered again that must not be.
class QV_EXPORT RecursionException : public virtual PreconditionException {
    QV_EXCEPTION_MEMBERS(RecursionException)
};

/// A pointer argument is null.
class QV_EXPORT NullPointerException : public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(NullPointerException)
};

/// A handle argument is null.
class QV_EXPORT NullHandleException : public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(NullHandleException)
};

/// A reference argument refers to nothing.
class QV_EXPORT NullReferenceException : public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(NullReferenceException)
};

/// A handle argument has no block.
class QV_EXPORT EmptyHandleException : public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(EmptyHandleException)
};

/// A position or range lies outside.
class QV_EXPORT IllegalReferenceException : public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(IllegalReferenceException)
};

/// An argument has the wrong type.
class QV_EXPORT IllegalTypeException : public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(IllegalTypeException)
};

/// The object is in a state that does not allow the operation.
class QV_EXPORT IllegalStateException : public virtual RunTimeErrorException {
    QV_EXCEPTION_MEMBERS(IllegalStateException)
};

/// A fault of the library itself.
class QV_EXPORT InternalErrorException : public virtual RunTimeErrorException {
    QV_EXCEPTION_MEMBERS(InternalErrorException)
};

/// A limit was exceeded.
class QV_EXPORT LimitViolationException : public virtual RunTimeErrorException {
    QV_EXCEPTION_MEMBERS(LimitViolationException)
};

/// The operation is not supported here.
class QV_EXPORT UnsupportedOperationException : public virtual RunTimeErrorException {
    QV_EXCEPTION_MEMBERS(UnsupportedOperationException)
};

/// Memory was accessed that must not be.
class QV_EXPORT AccessViolationException : public virtual RunTimeErrorException {
    QV_EXCEPTION_MEMBERS(AccessViolationException)
};

/// A text or value does not convert.
class QV_EXPORT ConversionErrorException : public virtual RunTimeErrorException {
    QV_EXCEPTION_MEMBERS(ConversionErrorException)
};

/// An allocation could not be satisfied. Also a `std::bad_alloc`.
class QV_EXPORT OutOfMemoryException : public virtual RunTimeErrorException, public virtual std::bad_alloc {
    QV_EXCEPTION_MEMBERS(OutOfMemoryException)

public:
    /// "OutOfMemoryException"; the message is in `GetMessage`.
    const char* what() const noexcept override;
};

/// An operation was abandoned on request. A clone of it is a plain `QVException` with the same fields, and
/// its name is that of `QVException`.
class QV_EXPORT AbortException : public QVException {
public:
    AbortException(const UniString& message, const char* file, UInt32 line);
    AbortException(const UniString& message, const char* file, UInt32 line, const QVException& cause);
    AbortException(const char* message, const char* file, UInt32 line);
    AbortException(const char* message, const char* file, UInt32 line, const QVException& cause);
};

/// The scope of the exception that is thrown where mirrored memory could not be accessed.
class AddressSpaceMirror {
public:
    /// Its code is the thrower's. It clones and names itself as `AbortException` does.
    class QV_EXPORT MemoryAccessException : public QVException {
    public:
        MemoryAccessException(const UniString& message, const char* file, UInt32 line,
                              const QVException& cause, int code);
        MemoryAccessException(const char* message, const char* file, UInt32 line, const QVException& cause,
                              int code);
    };
};

} // namespace QV
