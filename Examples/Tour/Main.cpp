/// A tour through the library: from files in many scripts to persistent objects in an archive and back. See
/// `Tour --help`.

#include "Program.hpp"

#include <Host/CommandLine.hpp>
#include <QVRoot/BasicEnvironment/DebugValues.hpp>

int main(int count, char** arguments)
{
    // The tour says itself what is wrong with an input.
    QV::DBSetOutputSink([](const char*) {});
    QV::Host::PrepareConsole();
    return Tour::RunProgram(QV::Host::CollectArguments(count, arguments));
}
