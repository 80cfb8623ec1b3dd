#include "BackEnds.hpp"
#include "TourError.hpp"
#include "TourLog.hpp"
#include "WorkFolder.hpp"

#include <Host/CommandLine.hpp>
#include <Host/IFileChannel.hpp>
#include <Host/OFileChannel.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Thread.hpp>

#include <cstdio>
#include <string_view>

namespace Tour {

using namespace QV;
using namespace QV::Host;

namespace {

struct BackEnd {
    const char* name;
    const char* setting;
};

constexpr BackEnd backEnds[] = {
    {"system", "memoryManagerType = 0"},
    {"pooled", "memoryManagerType = 1"},
    {"guarded", "useProtectedAlloc = true"},
};

/// The debug values that choose a back end and have its blocks counted.
void WriteSettings(const UniString& path, const char* setting)
{
    OFileChannel out;
    QVErrCode error = out.Open(path);
    if (error == NoError) {
        for (const std::string_view text :
             {"[QVRoot\\MemoryManager]\n", setting, "\ncollectStatistics = true\n"}) {
            out.WriteBin(text.data(), static_cast<UInt32>(text.size()), nullptr);
        }
        error = out.Commit();
    }
    if (error != NoError) {
        throw TourError(path, out.GetErrorText());
    }
}

void ReadResults(const UniString& path, Measurements& measurements)
{
    IFileChannel in;
    if (in.Open(path) != NoError || in.Read(measurements) != NoError) {
        throw TourError(path, "the run has left no results");
    }
}

} // namespace

std::vector<BackEndRun> RunBackEnds(const Array<UniString>& arguments, int* exitCode)
{
    const WorkFolder folder;
    const UniString settings = folder.GetPath("settings.ini");
    const UniString results = folder.GetPath("results");
    Array<UniString> childArguments = arguments;
    childArguments.Append("--here");
    childArguments.Append("--results");
    childArguments.Append(results);

    std::vector<BackEndRun> runs;
    for (const BackEnd& backEnd : backEnds) {
        WriteSettings(settings, backEnd.setting);
        QV_LOG(Info, stageLog, "the back end {name} runs in a process of its own", backEnd.name);
        std::fprintf(stderr, IsErrorOutputTerminal() ? "%-8s" : "%s\n", backEnd.name);
        std::fflush(stderr);
        if (RunSelf(childArguments, "QVROOT_DEBUG_VALUES", settings, exitCode) != NoError) {
            throw TourError(backEnd.name, "the run could not be started");
        }
        if (*exitCode != 0) {
            break;
        }
        if (Thread::Interrupted()) {
            QV_THROW(InterruptedException, "interrupted");
        }
        runs.push_back({backEnd.name, {}});
        ReadResults(results, runs.back().measurements);
    }
    return runs;
}

} // namespace Tour
