/// A program's arguments as text, its terminal, and running the program again.
#pragma once

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniString.hpp>

namespace QV::Host {

/// The arguments without the program's name. On Linux they must be UTF-8; one that is not comes out empty.
Array<UniString> CollectArguments(int count, char** arguments);

/// Makes the console take UTF-8.
void PrepareConsole() noexcept;

/// Whether standard error is a terminal, where a line can be written over.
bool IsErrorOutputTerminal() noexcept;

/// Runs this program once more and waits for its end. It sees one environment variable in addition.
/// `ErrGeneral` when it could not be started. The exit code of a process that was killed is above 127.
QVErrCode RunSelf(const Array<UniString>& arguments, const UniString& variable, const UniString& value,
                  int* exitCode);

} // namespace QV::Host
