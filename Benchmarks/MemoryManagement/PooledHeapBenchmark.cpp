/// The pooled heap against the runtime library's heap and against general-purpose allocators, each called
/// through a function pointer as a back end is.
#include <Benchmarks/Support/AllocationWorkloads.hpp>
#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>

using namespace QV;
using namespace QV::Impl;

namespace {

std::vector<Allocator> FindAllocators()
{
    std::vector<Allocator> allocators;
    for (const BackEnd* const heap : {&GetSystemHeap(), &GetPooledHeap()}) {
        allocators.push_back(
            {heap == &GetPooledHeap() ? "pooled" : "system", heap->allocate, heap->reallocate, heap->free});
    }
    for (const Allocator& peer : FindPeerAllocators()) {
        allocators.push_back(peer);
    }
    return allocators;
}

struct Workload {
    const char* name;
    AllocationWorkload run;
};

constexpr Workload workloads[] = {
    {"PairOf64", PairOf64},
    {"MixedSizesLastFirst", MixedSizesLastFirst},
    {"MixedSizesRandom", MixedSizesRandom},
    {"ReallocateGrowing", ReallocateGrowing},
    {"ReallocateAppending", ReallocateAppending},
    {"ReplaceAmong10Thousand", ReplaceAmong10Thousand},
    {"ReplaceAmong1Million", ReplaceAmong1Million},
    {"ProducerConsumer", ProducerConsumer},
};

} // namespace

int main(int count, char** arguments)
{
    RestartWithRoomForPeers(arguments);
    const std::vector<Allocator> allocators = FindAllocators();
    for (const Workload& workload : workloads) {
        for (const Allocator& heap : allocators) {
            RegisterWorkload(workload.name, workload.run, heap);
        }
    }
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
