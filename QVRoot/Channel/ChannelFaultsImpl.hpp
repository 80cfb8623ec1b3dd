/// Between the codes of channels and the exceptions of binary channels.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorCodes.h>
#include <QVRoot/Exceptions/QVException.hpp>

#include <new>

namespace QV::Impl {

/// The exception for a code other than 0. The general ones carry the code as their cause.
/// @{
[[noreturn]] void ThrowReadFault(QVErrCode code);
[[noreturn]] void ThrowWriteFault(QVErrCode code);
/// @}

/// Runs an operation that throws and answers the code of what it threw.
template <class Operation>
QVErrCode CatchCode(const Operation& operation)
{
    try {
        operation();
        return NoError;
    } catch (const QVException& e) {
        return e.GetID() != NoError ? e.GetID() : QVErrCode{ErrGeneral};
    } catch (const std::bad_alloc&) {
        return ErrMemoryFull;
    }
}

} // namespace QV::Impl
