/// Faults of containers.
///
/// Every class has the four constructors of `QV_EXCEPTION_MEMBERS`: a message as `UniString` or as
/// `const char*`, source file and line, with or without a cause. Its code is fixed; every edge of the tree is
/// a virtual base, so that a class is caught through each of its parents.
#pragma once

#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV {

/// Containers.
class QV_EXPORT ContainerException : public virtual RootException {
    QV_EXCEPTION_MEMBERS(ContainerException)
};

/// Variable arrays.
class QV_EXPORT VAException : public virtual ContainerException {
    QV_EXCEPTION_MEMBERS(VAException)
};

/// An index lies outside the array.
class QV_EXPORT VAIllegalIndexException : public virtual VAException,
                                          public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(VAIllegalIndexException)
};

/// An element has the wrong type.
class QV_EXPORT VAIncompatibleTypeException : public virtual VAException,
                                              public virtual IllegalArgumentException {
    QV_EXCEPTION_MEMBERS(VAIncompatibleTypeException)
};

/// A fault in the use of an array.
class QV_EXPORT VALogicErrorException : public virtual VAException, public virtual LogicErrorException {
    QV_EXCEPTION_MEMBERS(VALogicErrorException)
};

} // namespace QV
