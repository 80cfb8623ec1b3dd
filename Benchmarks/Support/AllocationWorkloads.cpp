#include <Benchmarks/Support/AllocationWorkloads.hpp>
#include <Benchmarks/Support/Ring.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

#include <dlfcn.h>
#include <unistd.h>

namespace QV {

namespace {

void Touch(void* block)
{
    *static_cast<volatile char*>(block) = 1;
}

std::vector<USize> MakeSizes(USize count, USize most)
{
    // Small sizes are the most frequent, as they are in programs.
    std::mt19937_64 random(7);
    std::vector<USize> sizes(count);
    for (USize& size : sizes) {
        size = 8 + random() % (most >> random() % 4);
    }
    return sizes;
}

/// Allocates mixed sizes, then frees them in the given order.
void MixedSizes(benchmark::State& state, const Allocator& heap, bool lastFirst)
{
    constexpr USize count = 4000;
    const std::vector<USize> sizes = MakeSizes(count, 1024);
    std::vector<USize> order(count);
    for (USize i = 0; i < count; ++i) {
        order[i] = count - 1 - i;
    }
    if (!lastFirst) {
        std::shuffle(order.begin(), order.end(), std::mt19937_64(8));
    }
    std::vector<void*> blocks(count);
    for (auto _ : state) {
        for (USize i = 0; i < count; ++i) {
            blocks[i] = heap.allocate(sizes[i]);
            Touch(blocks[i]);
        }
        for (const USize i : order) {
            heap.free(blocks[i]);
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<Int64>(count));
}

void ReplaceAmong(benchmark::State& state, const Allocator& heap, USize live)
{
    const std::vector<USize> sizes = MakeSizes(65536, 1024);
    std::mt19937_64 random(9);
    std::vector<void*> blocks(live);
    USize next = 0;
    for (void*& block : blocks) {
        block = heap.allocate(sizes[next++ % sizes.size()]);
        Touch(block);
    }
    UInt64 place = 1;
    for (auto _ : state) {
        place = place * 6364136223846793005u + 1442695040888963407u;
        void*& block = blocks[(place >> 32) * live >> 32];
        heap.free(block);
        block = heap.allocate(sizes[next++ % sizes.size()]);
        Touch(block);
    }
    for (void* const block : blocks) {
        heap.free(block);
    }
    state.SetItemsProcessed(state.iterations());
}

/// What the process has in memory.
USize GetResidentBytes()
{
    long pages = 0;
    if (FILE* const file = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(file, "%*s %ld", &pages) != 1) {
            pages = 0;
        }
        std::fclose(file);
    }
    return static_cast<USize>(pages) * static_cast<USize>(sysconf(_SC_PAGESIZE));
}

template <class Function>
bool Find(void* library, const std::string& name, Function& function)
{
    function = reinterpret_cast<Function>(dlsym(library, name.c_str()));
    return function != nullptr;
}

[[maybe_unused]] void AddPeer(std::vector<Allocator>& allocators, const char* name, const char* file,
                              const std::string& prefix)
{
    // In a scope of its own, so that the process keeps its heap and each peer calls itself.
    void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    Allocator peer = {name, nullptr, nullptr, nullptr};
    if (library == nullptr || !Find(library, prefix + "malloc", peer.allocate) ||
        !Find(library, prefix + "realloc", peer.reallocate) || !Find(library, prefix + "free", peer.free)) {
        const char* const reason = dlerror();
        std::fprintf(stderr, "%s is left out: %s\n", name, reason != nullptr ? reason : "no functions");
        return;
    }
    allocators.push_back(peer);
}

} // namespace

void PairOf64(benchmark::State& state, const Allocator& heap)
{
    for (auto _ : state) {
        void* const block = heap.allocate(64);
        benchmark::DoNotOptimize(block);
        heap.free(block);
    }
    state.SetItemsProcessed(state.iterations());
}

void MixedSizesLastFirst(benchmark::State& state, const Allocator& heap)
{
    MixedSizes(state, heap, true);
}

void MixedSizesRandom(benchmark::State& state, const Allocator& heap)
{
    MixedSizes(state, heap, false);
}

/// Eight buffers that grow side by side, by half of their size, up to 1 MB each.
void ReallocateGrowing(benchmark::State& state, const Allocator& heap)
{
    constexpr USize count = 8;
    constexpr USize most = USize{1} << 20;
    Int64 steps = 0;
    for (auto _ : state) {
        void* blocks[count] = {};
        for (USize size = 16, before = 0; size <= most; before = size, size += size / 2) {
            for (void*& block : blocks) {
                block = block != nullptr ? heap.reallocate(block, size) : heap.allocate(size);
                std::memset(static_cast<char*>(block) + before, 1, size - before);
                ++steps;
            }
        }
        for (void* const block : blocks) {
            heap.free(block);
        }
    }
    state.SetItemsProcessed(steps);
}

/// One buffer that grows by 100 bytes at a time up to 256 KB.
void ReallocateAppending(benchmark::State& state, const Allocator& heap)
{
    Int64 steps = 0;
    for (auto _ : state) {
        void* block = heap.allocate(100);
        for (USize size = 200; size <= 256 * 1024; size += 100) {
            block = heap.reallocate(block, size);
            static_cast<char*>(block)[size - 1] = 1;
            ++steps;
        }
        heap.free(block);
    }
    state.SetItemsProcessed(steps);
}

void ReplaceAmong10Thousand(benchmark::State& state, const Allocator& heap)
{
    ReplaceAmong(state, heap, 10'000);
}

void ReplaceAmong100Thousand(benchmark::State& state, const Allocator& heap)
{
    ReplaceAmong(state, heap, 100'000);
}

void ReplaceAmong1Million(benchmark::State& state, const Allocator& heap)
{
    ReplaceAmong(state, heap, 1'000'000);
}

/// One thread allocates and fills, the other reads and frees.
void ProducerConsumer(benchmark::State& state, const Allocator& heap)
{
    constexpr int batch = 10'000;
    const std::vector<USize> sizes = MakeSizes(4096, 256);
    Ring ring;
    std::thread consumer([&] {
        while (void* const block = ring.Get()) {
            benchmark::DoNotOptimize(*static_cast<char*>(block));
            heap.free(block);
        }
    });
    USize next = 0;
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i) {
            void* const block = heap.allocate(sizes[next++ % sizes.size()]);
            Touch(block);
            ring.Put(block);
        }
    }
    ring.Put(nullptr);
    consumer.join();
    state.SetItemsProcessed(state.iterations() * batch);
}

void ResidentAfterFragmentation(benchmark::State& state, const Allocator& heap)
{
    constexpr USize count = 250'000;
    const std::vector<USize> sizes = MakeSizes(count, 4096);
    std::vector<void*> blocks(count);
    std::fill(blocks.begin(), blocks.end(), &blocks); // in memory before the first measurement
    const USize before = GetResidentBytes();
    for (auto _ : state) {
        for (USize i = 0; i < count; ++i) {
            blocks[i] = heap.allocate(sizes[i]);
            std::memset(blocks[i], 1, sizes[i]);
        }
        std::shuffle(blocks.begin(), blocks.end(), std::mt19937_64(10));
        for (USize i = count / 10; i < count; ++i) {
            heap.free(blocks[i]);
        }
        std::this_thread::sleep_for(std::chrono::seconds(1));
        for (USize i = 0; i < 1000; ++i) {
            heap.free(heap.allocate(sizes[i]));
        }
    }
    const USize now = GetResidentBytes();
    state.counters["bytes"] = static_cast<double>(now > before ? now - before : 0);
    for (USize i = 0; i < count / 10; ++i) {
        heap.free(blocks[i]);
    }
}

void RegisterWorkload(const char* name, AllocationWorkload workload, const Allocator& heap)
{
    const auto run = [workload, heap](benchmark::State& state) { workload(state, heap); };
    benchmark::internal::Benchmark* const added =
        benchmark::RegisterBenchmark((std::string(name) + "/" + heap.name).c_str(), run);
    if (workload == ProducerConsumer) {
        added->UseRealTime();
    } else if (workload == ResidentAfterFragmentation) {
        added->Iterations(1)->Repetitions(1);
    }
}

std::vector<Allocator> FindPeerAllocators()
{
    std::vector<Allocator> allocators;
#if defined(QV_PEER_MIMALLOC)
    AddPeer(allocators, "mimalloc", QV_PEER_MIMALLOC, "mi_");
#endif
#if defined(QV_PEER_JEMALLOC)
    AddPeer(allocators, "jemalloc", QV_PEER_JEMALLOC, "");
#endif
#if defined(QV_PEER_TCMALLOC)
    AddPeer(allocators, "tcmalloc", QV_PEER_TCMALLOC, "tc_");
#endif
    return allocators;
}

void RestartWithRoomForPeers(char** arguments)
{
    const char* const variable = "GLIBC_TUNABLES";
    if (std::getenv(variable) == nullptr) {
        setenv(variable, "glibc.rtld.optional_static_tls=65536", 1);
        execv("/proc/self/exe", arguments);
    }
}

} // namespace QV
