/// The memory manager with each of its back ends against general-purpose allocators.
///
/// A process chooses its back end once, so every subject gets a process of its own: the program runs itself
/// once for each, and joins the results.
#include <Benchmarks/Support/AllocationWorkloads.hpp>
#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

#include <sys/wait.h>
#include <unistd.h>

using namespace QV;

namespace {

/// Tells a process which subject it is to measure.
constexpr const char* subjectVariable = "QV_BENCHMARK_SUBJECT";

struct BackEndSubject {
    const char* name;
    const char* debugValues;
};

constexpr BackEndSubject backEnds[] = {
    {"QVpooled", "[QVRoot\\MemoryManager]\nmemoryManagerType = 1\n"},
    {"QVsystem", "[QVRoot\\MemoryManager]\nmemoryManagerType = 0\n"},
    {"QVprotected", "[QVRoot\\MemoryManager]\nuseProtectedAlloc = true\n"},
};

struct Workload {
    const char* name;
    AllocationWorkload run;
};

constexpr Workload workloads[] = {
    {"PairOf64", PairOf64},
    {"MixedSizesRandom", MixedSizesRandom},
    {"ReallocateGrowing", ReallocateGrowing},
    {"ReplaceAmong100Thousand", ReplaceAmong100Thousand},
    {"ProducerConsumer", ProducerConsumer},
    {"ResidentAfterFragmentation", ResidentAfterFragmentation},
};

std::vector<Allocator> FindPeers()
{
    std::vector<Allocator> peers = {{"glibc", [](USize size) { return std::malloc(size); },
                                     [](void* block, USize size) { return std::realloc(block, size); },
                                     [](void* block) { std::free(block); }}};
    for (const Allocator& peer : FindPeerAllocators()) {
        peers.push_back(peer);
    }
    return peers;
}

Allocator FindSubject(const std::string& name)
{
    for (const Allocator& peer : FindPeers()) {
        if (peer.name == name) {
            return peer;
        }
    }
    return {name,
            [](USize size) { return MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true); },
            [](void* block, USize size) {
                return MemoryManager::Reallocate(block, size, MemoryManager::ThrowOnFailure, true);
            },
            [](void* block) { MemoryManager::Free(block); }};
}

/// Runs the benchmarks of the one subject that the process was started for.
int Measure(const std::string& subject, int count, char** arguments)
{
    const Allocator heap = FindSubject(subject);
    for (const Workload& workload : workloads) {
        RegisterWorkload(workload.name, workload.run, heap);
    }
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

std::string ReadFile(const std::string& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Starts this program again for a subject and waits for it. With a file name, results go there.
bool RunFor(const std::string& subject, const char* debugValues, std::vector<std::string> arguments,
            const std::string& results)
{
    char values[] = "/tmp/MemoryManagerBenchmarkXXXXXX";
    const int file = mkstemp(values);
    const bool written = file >= 0 && write(file, debugValues, std::strlen(debugValues)) >= 0;
    close(file);
    if (!results.empty()) {
        arguments.push_back("--benchmark_out=" + results);
    }
    const pid_t child = written ? fork() : -1;
    if (child == 0) {
        setenv(subjectVariable, subject.c_str(), 1);
        setenv("QVROOT_DEBUG_VALUES", values, 1);
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        execv("/proc/self/exe", pointers.data());
        _exit(127);
    }
    int status = -1;
    const bool ended = child > 0 && waitpid(child, &status, 0) == child;
    unlink(values);
    return ended && status == 0;
}

/// Puts the benchmarks of another result file behind those of the first.
void Join(std::string& all, const std::string& more)
{
    const char* const key = "\"benchmarks\": [";
    const USize begin = more.find(key);
    if (all.empty() || begin == std::string::npos) {
        all += more;
        return;
    }
    const USize first = begin + std::strlen(key);
    all.insert(all.rfind(']'), "," + more.substr(first, more.rfind(']') - first));
}

int MeasureAll(int count, char** arguments)
{
    const std::string outOption = "--benchmark_out=";
    std::vector<std::string> passedOn;
    std::string results;
    for (int i = 0; i < count; ++i) {
        const std::string argument = arguments[i];
        if (argument.starts_with(outOption)) {
            results = argument.substr(outOption.size());
        } else {
            passedOn.push_back(argument);
        }
    }
    std::vector<std::pair<std::string, std::string>> subjects;
    for (const BackEndSubject& backEnd : backEnds) {
        subjects.emplace_back(backEnd.name, backEnd.debugValues);
    }
    for (const Allocator& peer : FindPeers()) {
        subjects.emplace_back(peer.name, "");
    }
    std::string all;
    for (const auto& [name, values] : subjects) {
        const std::string part = results.empty() ? "" : results + "." + name;
        if (!RunFor(name, values.c_str(), passedOn, part)) {
            return 1;
        }
        if (!part.empty()) {
            Join(all, ReadFile(part));
            unlink(part.c_str());
        }
    }
    if (!results.empty()) {
        std::ofstream(results) << all;
    }
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    RestartWithRoomForPeers(arguments);
    const char* const subject = std::getenv(subjectVariable);
    return subject != nullptr ? Measure(subject, count, arguments) : MeasureAll(count, arguments);
}
