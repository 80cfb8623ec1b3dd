// Small objects of one size: pairs of an allocation and a free, objects that are replaced at random among
// many, and many objects built and freed as a whole. `Shared…` are the forms that several threads may use, on
// one thread and on two; in `CrossThread` one thread allocates what another frees.
#include <Benchmarks/Support/AllocationWorkloads.hpp>
#include <Benchmarks/Support/FreeList.hpp>
#include <Benchmarks/Support/Ring.hpp>
#include <QVRoot/MemoryManagement/SmallObjAllocator.hpp>

#include <cstdlib>
#include <memory_resource>
#include <mutex>
#include <thread>

#if defined(QV_PEER_BOOST_POOL)
#include <boost/pool/object_pool.hpp>
#include <boost/pool/pool.hpp>
#include <boost/pool/pool_alloc.hpp>
#endif

using namespace QV;

namespace {

constexpr USize LiveObjects = 10'000;

// The subjects: each allocates and frees blocks of `Size` bytes.
template <USize Size>
struct QVFixed {
    FixedAllocator allocator{Size, false, FixedAllocator::ConstantPageSize};
    void* Allocate() { return allocator.Allocate(); }
    void Free(void* block) { FixedAllocator::Deallocate(block); }
};

template <USize Size>
struct QVPool {
    SmallObjAllocator pool{512, false, false};
    void* Allocate() { return pool.Allocate(Size); }
    void Free(void* block) { SmallObjAllocator::Deallocate(block); }
};

template <USize Size>
struct BareFreeList : FreeList {
    BareFreeList() : FreeList(Size) {}
};

template <USize Size, class Resource>
struct Pmr {
    Resource resource;
    void* Allocate() { return resource.allocate(Size, 8); }
    void Free(void* block) { resource.deallocate(block, Size, 8); }
};
template <USize Size>
using PmrUnsynchronized = Pmr<Size, std::pmr::unsynchronized_pool_resource>;
template <USize Size>
using PmrSynchronized = Pmr<Size, std::pmr::synchronized_pool_resource>;

template <USize Size>
struct Glibc {
    void* Allocate() { return std::malloc(Size); }
    void Free(void* block) { std::free(block); }
};

const Allocator* mimalloc = nullptr;

template <USize Size>
struct Mimalloc {
    Allocator heap = *mimalloc;
    void* Allocate() { return heap.allocate(Size); }
    void Free(void* block) { heap.free(block); }
};

template <USize Size>
struct QVThreadSafeFixed {
    ThreadSafeFixedAllocator allocator{Size, false};
    void* Allocate() { return allocator.Allocate(); }
    void Free(void* block) { FixedAllocator::Deallocate(block); }
};

template <USize Size>
struct QVGlobalPool {
    void* Allocate() { return threadSafeGlobalObjPool.Allocate(Size); }
    void Free(void* block) { SmallObjAllocator::Deallocate(block); }
};

template <USize Size>
struct SpinFreeList : LockedFreeList {
    SpinFreeList() : LockedFreeList(Size) {}
};

#if defined(QV_PEER_BOOST_POOL)
template <USize Size>
struct Object {
    char bytes[Size];
};

template <USize Size>
struct BoostPool {
    boost::pool<> pool{Size, 64};
    void* Allocate() { return pool.malloc(); }
    void Free(void* block) { pool.free(block); }
};

template <USize Size>
struct BoostObjectPool {
    boost::object_pool<Object<Size>> pool{64};
    void* Allocate() { return pool.malloc(); }
    void Free(void* block) { pool.free(static_cast<Object<Size>*>(block)); }
};

template <USize Size, class Mutex>
struct BoostFast {
    boost::fast_pool_allocator<Object<Size>, boost::default_user_allocator_new_delete, Mutex, 64> allocator;
    void* Allocate() { return allocator.allocate(1); }
    void Free(void* block) { allocator.deallocate(static_cast<Object<Size>*>(block), 1); }
};
template <USize Size>
using BoostFastUnlocked = BoostFast<Size, boost::details::pool::null_mutex>;
template <USize Size>
using BoostFastLocked = BoostFast<Size, boost::details::pool::default_mutex>;
#endif

/// The pair meets an allocator of which other blocks are in use, and one of which none is.
template <class Subject>
void Pair(benchmark::State& state, Subject& subject)
{
    void* const other = subject.Allocate();
    for (auto _ : state) {
        void* block = subject.Allocate();
        benchmark::DoNotOptimize(block);
        subject.Free(block);
    }
    subject.Free(other);
}

template <class Subject>
void PairAlone(benchmark::State& state, Subject& subject)
{
    for (auto _ : state) {
        void* block = subject.Allocate();
        benchmark::DoNotOptimize(block);
        subject.Free(block);
    }
}

void Touch(void* block)
{
    *static_cast<volatile char*>(block) = 1;
}

template <class Subject>
void Churn(benchmark::State& state, Subject& subject)
{
    std::vector<void*> blocks(LiveObjects);
    for (void*& block : blocks) {
        block = subject.Allocate();
    }
    UInt64 place = static_cast<UInt64>(state.thread_index()) + 1;
    for (auto _ : state) {
        place = place * 6364136223846793005u + 1442695040888963407u;
        void*& block = blocks[(place >> 32) * LiveObjects >> 32];
        subject.Free(block);
        block = subject.Allocate();
        Touch(block);
    }
    for (void* const block : blocks) {
        subject.Free(block);
    }
}

/// The time is for one object.
template <class Subject>
void BulkBuildAndFree(benchmark::State& state, Subject& subject)
{
    std::vector<void*> blocks(LiveObjects);
    while (state.KeepRunningBatch(LiveObjects)) {
        for (void*& block : blocks) {
            block = subject.Allocate();
            Touch(block);
        }
        for (void* const block : blocks) {
            subject.Free(block);
        }
    }
}

template <class Subject>
void CrossThread(benchmark::State& state, Subject& subject)
{
    constexpr USize batch = 1000;
    Ring ring;
    std::thread consumer([&] {
        while (void* const block = ring.Get()) {
            benchmark::DoNotOptimize(*static_cast<char*>(block));
            subject.Free(block);
        }
    });
    while (state.KeepRunningBatch(batch)) {
        for (USize i = 0; i < batch; ++i) {
            void* const block = subject.Allocate();
            Touch(block);
            ring.Put(block);
        }
    }
    ring.Put(nullptr);
    consumer.join();
}

/// One subject for all threads of a run, made by the first.
template <class Subject>
class ForAllThreads {
public:
    Subject& Get()
    {
        const std::lock_guard guard(mutex_);
        if (users_++ == 0) {
            subject_ = std::make_unique<Subject>();
        }
        return *subject_;
    }
    void Release()
    {
        const std::lock_guard guard(mutex_);
        if (--users_ == 0) {
            subject_.reset();
        }
    }

private:
    std::mutex mutex_;
    int users_ = 0;
    std::unique_ptr<Subject> subject_;
};

template <class Subject>
using Workload = void (*)(benchmark::State&, Subject&);

template <class Subject>
benchmark::internal::Benchmark* Register(const char* workload, Workload<Subject> run, const char* subject,
                                         USize size)
{
    const std::string name = std::string(workload) + "/" + subject + "/" + std::to_string(size);
    return benchmark::RegisterBenchmark(name.c_str(), [run](benchmark::State& state) {
        static ForAllThreads<Subject> shared;
        Subject& object = shared.Get();
        run(state, object);
        shared.Release();
    });
}

template <class Subject>
void RegisterPairs(const char* subject, USize size)
{
    Register<Subject>("Pair", Pair, subject, size);
    Register<Subject>("PairAlone", PairAlone, subject, size);
}

template <class Subject>
void RegisterPlain(const char* subject, USize size)
{
    RegisterPairs<Subject>(subject, size);
    Register<Subject>("Churn", Churn, subject, size);
    Register<Subject>("BulkBuildAndFree", BulkBuildAndFree, subject, size);
}

template <class Subject>
void RegisterShared(const char* subject, USize size)
{
    Register<Subject>("SharedPair", Pair, subject, size)->Threads(1)->Threads(2)->UseRealTime();
    Register<Subject>("SharedChurn", Churn, subject, size)->Threads(1)->Threads(2)->UseRealTime();
    Register<Subject>("SharedBulk", BulkBuildAndFree, subject, size)->Threads(1)->Threads(2)->UseRealTime();
    Register<Subject>("CrossThread", CrossThread, subject, size)->UseRealTime();
}

template <USize Size>
void RegisterAll()
{
    RegisterPlain<QVFixed<Size>>("QVFixedAllocator", Size);
    RegisterPlain<QVPool<Size>>("QVSmallObjAllocator", Size);
    RegisterPlain<BareFreeList<Size>>("free list", Size);
    RegisterPlain<PmrUnsynchronized<Size>>("pmr pool", Size);
#if defined(QV_PEER_BOOST_POOL)
    RegisterPlain<BoostPool<Size>>("boost pool", Size);
    RegisterPlain<BoostFastUnlocked<Size>>("boost fast_pool_allocator", Size);
    // Keeps its blocks in order: anything but a pair takes it for ever.
    RegisterPairs<BoostObjectPool<Size>>("boost object_pool", Size);
#endif
    RegisterPlain<Glibc<Size>>("glibc", Size);
    if (mimalloc != nullptr) {
        RegisterPlain<Mimalloc<Size>>("mimalloc", Size);
    }

    RegisterShared<QVThreadSafeFixed<Size>>("QVThreadSafeFixedAllocator", Size);
    RegisterShared<QVGlobalPool<Size>>("QVGlobalPool", Size);
    RegisterShared<SpinFreeList<Size>>("locked free list", Size);
    RegisterShared<PmrSynchronized<Size>>("synchronized pmr pool", Size);
#if defined(QV_PEER_BOOST_POOL)
    RegisterShared<BoostFastLocked<Size>>("boost fast_pool_allocator", Size);
#endif
    RegisterShared<Glibc<Size>>("glibc", Size);
    if (mimalloc != nullptr) {
        RegisterShared<Mimalloc<Size>>("mimalloc", Size);
    }
}

} // namespace

int main(int count, char** arguments)
{
    RestartWithRoomForPeers(arguments);
    const std::vector<Allocator> peers = FindPeerAllocators();
    for (const Allocator& peer : peers) {
        if (peer.name == "mimalloc") {
            mimalloc = &peer;
        }
    }
    RegisterAll<16>();
    RegisterAll<64>();
    RegisterAll<128>();
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
