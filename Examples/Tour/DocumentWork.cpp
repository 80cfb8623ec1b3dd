#include "DocumentWork.hpp"
#include "PlanDigest.hpp"
#include "PlanFile.hpp"
#include "TourError.hpp"
#include "WorkFolder.hpp"

#include <Host/IFileChannel.hpp>
#include <Host/OFileChannel.hpp>
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace Tour {

using namespace QV;
using namespace QV::Host;

namespace {

constexpr UInt32 roomCount = 8000;

/// What was saved and loaded, and how fast.
struct Timing {
    UInt64 bytes = 0;
    double saveSeconds = 1e9; ///< of the fastest pass
    double loadSeconds = 1e9;
};

void Require(bool holds, const UniString& where, const UniString& what)
{
    if (!holds) {
        throw TourError(where, what);
    }
}

template <class Work>
void Measure(double& seconds, Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    seconds =
        std::min(seconds, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
}

void RequireSame(const PlanDocument& loaded, const PlanDocument& saved, const UniString& where)
{
    Require(loaded.objects.GetCount() == saved.objects.GetCount() &&
                PlanDigest::Make(*loaded.plan) == PlanDigest::Make(*saved.plan),
            where, u"the plan that was loaded is not the one that was saved");
}

Timing SaveAndLoadInMemory(const PlanDocument& document, PlatformSign platform, UInt32 passes)
{
    Timing timing;
    for (UInt32 pass = 0; pass < passes; ++pass) {
        OMemChannel out;
        QVErrCode error = NoError;
        Measure(timing.saveSeconds, [&] { error = SavePlan(out, *document.plan, platform); });
        Require(error == NoError, u"memory", u"the plan cannot be saved");
        timing.bytes = out.DataSize();

        IMemChannel in(out.LockData(), static_cast<int>(out.DataSize()));
        PlanDocument loaded;
        UniString what;
        Measure(timing.loadSeconds, [&] { error = LoadPlan(in, &loaded, &what); });
        Require(error == NoError, u"memory", what);
        RequireSame(loaded, document, u"memory");
    }
    return timing;
}

Timing SaveAndLoadFile(const PlanDocument& document, const UniString& path, UInt32 passes)
{
    Timing timing;
    for (UInt32 pass = 0; pass < passes; ++pass) {
        OFileChannel out;
        QVErrCode error = NoError;
        Measure(timing.saveSeconds, [&] {
            error = out.Open(path);
            error = error != NoError ? error : SavePlan(out, *document.plan, WinPlatformSign);
            out.GetOutputPosition(&timing.bytes);
            error = error != NoError ? error : out.Commit();
        });
        Require(error == NoError, path, out.GetErrorText());

        IFileChannel in;
        PlanDocument loaded;
        UniString what;
        Require(in.Open(path) == NoError, path, in.GetErrorText());
        Measure(timing.loadSeconds, [&] { error = LoadPlan(in, &loaded, &what); });
        Require(error == NoError, path, what);
        RequireSame(loaded, document, path);
    }
    return timing;
}

void Print(const char* name, const Timing& timing)
{
    const double megabytes = static_cast<double>(timing.bytes) / 1e6;
    std::printf("  %-24s %9.1f MB  saved at %7.1f MB/s, loaded at %7.1f MB/s\n", name, megabytes,
                megabytes / timing.saveSeconds, megabytes / timing.loadSeconds);
}

/// A plan from the folder of the sources, where it lies since the version or platform that its name says.
PlanDocument LoadArchive(const char* name)
{
    const UniString path = UniString(QV_SOURCE_FOLDER) + "/Examples/Tour/archives/" + name;
    IFileChannel in;
    PlanDocument document;
    UniString what;
    Require(in.Open(path) == NoError, path, in.GetErrorText());
    Require(LoadPlan(in, &document, &what) == NoError, path, what);
    std::printf("  %-30s %u objects\n", name, document.objects.GetCount());
    return document;
}

/// What version 1 did not have gets the value that new objects have.
void ForgetNewFields(const PlanDocument& document)
{
    for (Object* const object : document.objects) {
        if (auto* const material = dynamic_cast<Material*>(object)) {
            material->density = Material().density;
        } else if (auto* const wall = dynamic_cast<Wall*>(object)) {
            wall->height = Wall().height;
        } else if (auto* const label = dynamic_cast<Label*>(object)) {
            label->size = Label().size;
        }
    }
}

void LoadArchives()
{
    constexpr UInt32 roomsInArchives = 12;
    const PlanDocument made = MakePlan(roomsInArchives);
    for (const char* const name : {"linux.qvplan", "windows.qvplan", "linux-bigendian.qvplan"}) {
        RequireSame(LoadArchive(name), made, name);
    }
    ForgetNewFields(made);
    for (const char* const name : {"version1.qvplan", "version1-bigendian.qvplan"}) {
        RequireSame(LoadArchive(name), made, name);
    }
}

} // namespace

void WorkWithDocuments(UInt32 passes)
{
    const WorkFolder folder;
    const PlanDocument document = MakePlan(roomCount);
    std::printf("\na plan of %u objects in 6 classes, with shared and circular references\n",
                document.objects.GetCount());
    Print("little-endian, memory", SaveAndLoadInMemory(document, WinPlatformSign, passes));
    Print("big-endian, memory", SaveAndLoadInMemory(document, MacPlatformSign, passes));
    Print("little-endian, file", SaveAndLoadFile(document, folder.GetPath("plan"), passes));
    std::printf("plans of earlier versions and other platforms\n");
    LoadArchives();
    std::fflush(stdout);
}

} // namespace Tour
