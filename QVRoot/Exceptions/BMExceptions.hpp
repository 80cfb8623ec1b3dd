/// Faults of the handle and pointer interface, for callers that prefer exceptions to its codes.
///
/// Every class has the four constructors of `QV_EXCEPTION_MEMBERS`: a message as `UniString` or as
/// `const char*`, source file and line, with or without a cause. Its code is fixed; every edge of the tree is
/// a virtual base, so that a class is caught through each of its parents.
#pragma once

#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV {

/// The handle and pointer interface.
class QV_EXPORT BMException : public virtual RootException {
    QV_EXCEPTION_MEMBERS(BMException)
};

/// An argument of the handle interface is invalid.
class QV_EXPORT BMIllegalArgumentException : public virtual BMException,
                                             public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(BMIllegalArgumentException)
};

/// A fault in the use of the handle interface.
class QV_EXPORT BMLogicErrorException : public virtual BMException, public virtual LogicErrorException {
    QV_EXCEPTION_MEMBERS(BMLogicErrorException)
};

/// A pointer block is null.
class QV_EXPORT BMNullPointerException : public virtual BMException, public virtual NullPointerException {
    QV_EXCEPTION_MEMBERS(BMNullPointerException)
};

/// A handle is null.
class QV_EXPORT BMNullHandleException : public virtual BMException, public virtual NullHandleException {
    QV_EXCEPTION_MEMBERS(BMNullHandleException)
};

/// A handle has no block.
class QV_EXPORT BMEmptyHandleException : public virtual BMException, public virtual EmptyHandleException {
    QV_EXCEPTION_MEMBERS(BMEmptyHandleException)
};

/// A block is locked.
class QV_EXPORT BMMemoryLockedException : public virtual BMException, public virtual RunTimeErrorException {
    QV_EXCEPTION_MEMBERS(BMMemoryLockedException)
};

/// The handle interface could not get memory. Not an `OutOfMemoryException`.
class QV_EXPORT BMOutOfMemoryException : public virtual BMException, public virtual RunTimeErrorException {
    QV_EXCEPTION_MEMBERS(BMOutOfMemoryException)
};

} // namespace QV
