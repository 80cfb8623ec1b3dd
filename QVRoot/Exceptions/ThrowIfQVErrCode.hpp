/// From the library's codes to its exceptions.
///
///     QV_THROW_IF_ERROR(channel.GetInputStatus());
///
/// Threads: any. Allocation: none for success and for memory-full.
#pragma once

#include <QVRoot/Exceptions/SourceFile.hpp>

namespace QV {

/// Does nothing for 0, throws `std::bad_alloc` with the text "bad allocation" for -108 and a `QVException`
/// without message for every other code. The last argument is not used.
QV_EXPORT void ThrowIfQVErrCodeImp(QVErrCode code, const char* file, UInt32 line, const char* unused);

} // namespace QV

#define QV_THROW_IF_ERROR(code) ::QV::ThrowIfQVErrCodeImp(code, QV_SOURCE_FILE, __LINE__, #code)
