/// Patterns of allocation, and the allocators that they are run with.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace QV {

struct Allocator {
    std::string name;
    void* (*allocate)(USize size);
    void* (*reallocate)(void* block, USize size);
    void (*free)(void* block);
};

using AllocationWorkload = void (*)(benchmark::State& state, const Allocator& heap);

void PairOf64(benchmark::State& state, const Allocator& heap);
void MixedSizesLastFirst(benchmark::State& state, const Allocator& heap);
void MixedSizesRandom(benchmark::State& state, const Allocator& heap);
void ReallocateGrowing(benchmark::State& state, const Allocator& heap);
void ReallocateAppending(benchmark::State& state, const Allocator& heap);
void ReplaceAmong10Thousand(benchmark::State& state, const Allocator& heap);
void ReplaceAmong100Thousand(benchmark::State& state, const Allocator& heap);
void ReplaceAmong1Million(benchmark::State& state, const Allocator& heap);
void ProducerConsumer(benchmark::State& state, const Allocator& heap);

/// Allocates some 250 MB in mixed sizes, frees nine tenths of the blocks at random, waits, and allocates a
/// little again. The counter `bytes` is what the process then has in memory for it.
void ResidentAfterFragmentation(benchmark::State& state, const Allocator& heap);

void RegisterWorkload(const char* name, AllocationWorkload workload, const Allocator& heap);

/// The general-purpose allocators that are installed, without the runtime's own.
std::vector<Allocator> FindPeerAllocators();

/// To be called first in `main`: the peers want more room for thread-local data than libraries loaded late
/// are given by default, which is settled when a process starts.
void RestartWithRoomForPeers(char** arguments);

} // namespace QV
