#include "Program.hpp"
#include "Archive.hpp"
#include "BackEnds.hpp"
#include "DocumentWork.hpp"
#include "FileFinder.hpp"
#include "Run.hpp"
#include "Table.hpp"
#include "TourError.hpp"
#include "TourLog.hpp"
#include "WorkFolder.hpp"

#include <Host/IFileChannel.hpp>
#include <Host/InterruptSignal.hpp>
#include <Host/OFileChannel.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/Exceptions/ThreadingExceptions.hpp>
#include <QVRoot/Threading/Thread.hpp>

#include <cstdio>

namespace Tour {

using namespace QV;
using namespace QV::Host;

namespace {

enum ExitCode { Success = 0, Failed = 1, WrongUsage = 2, Unexpected = 3, Interrupted = 130 };

void PrintLine(const UniString& text)
{
    std::fprintf(stderr, "Tour: %s\n", text.ToCStr(0, UniString::Npos, UTF8CharCode).GetText());
}

void SaveResults(const UniString& path, const Measurements& measurements)
{
    OFileChannel out;
    QVErrCode error = out.Open(path);
    if (error == NoError) {
        out << measurements;
        error = out.Commit();
    }
    if (error != NoError) {
        throw TourError(path, out.GetErrorText());
    }
}

int MeasureHere(const Options& options)
{
    const WorkFolder folder;
    const UniString archive = options.archive.IsEmpty() ? folder.GetPath("archive") : options.archive;
    Run run(options.inputs.IsEmpty() ? FindFiles(GetOwnFolders()) : FindFiles(options.inputs), archive,
            options.passes, options.threads);
    try {
        const Measurements& measurements = run.Execute();
        if (options.results.IsEmpty()) {
            PrintTable({{"here", measurements}});
        } else {
            SaveResults(options.results, measurements);
        }
    } catch (const InterruptedException&) {
        if (options.archive.IsEmpty()) {
            throw;
        }
        UniString line("interrupted; ");
        line += options.archive;
        line += run.HasReplacedArchive() ? " is complete" : " is what it was before";
        QV_THROW(InterruptedException, line);
    }
    return Success;
}

int CompareBackEnds(const Array<UniString>& arguments)
{
    int exitCode = Success;
    const std::vector<BackEndRun> runs = RunBackEnds(arguments, &exitCode);
    if (exitCode == Success) {
        PrintTable(runs);
    }
    return exitCode;
}

int VerifyArchive(const UniString& path)
{
    IFileChannel in;
    if (in.Open(path) != NoError) {
        throw TourError(path, in.GetErrorText());
    }
    Array<Document> documents;
    const ArchiveFault fault = ReadArchive(in, &documents);
    if (fault.code != NoError) {
        throw TourError(path, fault.offset, UniString(fault.what.c_str(), UTF8CharCode));
    }
    UInt64 characters = 0;
    for (const Document& document : documents) {
        characters += document.GetStatistics().characters;
    }
    std::printf("%u documents, %llu characters\n", documents.GetCount(), characters);
    return Success;
}

int Dispatch(const Array<UniString>& arguments)
{
    const Options options = ParseOptions(arguments);
    if (options.help) {
        std::fputs(usageText, stdout);
        return Success;
    }
    if (!options.verify.IsEmpty()) {
        return VerifyArchive(options.verify);
    }
    const TourLog log(options.log);
    const int exitCode = options.here ? MeasureHere(options) : CompareBackEnds(arguments);
    if (exitCode == Success && options.results.IsEmpty() && options.inputs.IsEmpty()) {
        WorkWithDocuments(options.passes);
    }
    return exitCode;
}

} // namespace

int RunProgram(const Array<UniString>& arguments)
{
    try {
        const InterruptSignal signal([program = Thread::GetCurrent()]() mutable { program.Interrupt(); });
        return Dispatch(arguments);
    } catch (const InterruptedException& e) {
        PrintLine(e.GetMessage());
        return Interrupted;
    } catch (const UsageError& e) {
        PrintLine(e.what);
        std::fputs(usageText, stderr);
        return WrongUsage;
    } catch (const TourError& e) {
        PrintLine(e.GetLine());
        return Failed;
    } catch (const OutOfMemoryException& e) {
        std::fprintf(stderr, "Tour: %s\n", e.what());
    } catch (const QVException& e) {
        PrintLine(e.GetMessage());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "Tour: %s\n", e.what());
    }
    return Unexpected;
}

} // namespace Tour
