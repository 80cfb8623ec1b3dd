#include <QVRoot/BasicEnvironment/DebugValues.hpp>
#include <QVRoot/Exceptions/StackCaptureImpl.hpp>
#include <QVRoot/MemoryManagement/Core/BackEndImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Protected/BlockReportImpl.hpp>
#include <QVRoot/MemoryManagement/Core/Protected/ProtectedHeapImpl.hpp>

#include <algorithm>
#include <cstring>

namespace QV::Impl {

namespace {

constexpr USize Alignment = 16;
constexpr USize MaxSize = USize{1} << 47; // more than any address space has
constexpr char Pattern = static_cast<char>(0xFD);

USize RoundUp(USize size) noexcept
{
    return (size + Alignment - 1) & ~(Alignment - 1);
}

void FillSurroundings(const BlockRecord& record) noexcept
{
    char* const end = record.block + record.size;
    std::memset(record.begin, Pattern, static_cast<USize>(record.block - record.begin));
    std::memset(end, Pattern, static_cast<USize>(record.end - end));
}

bool IsIntact(const char* begin, const char* end) noexcept
{
    // Every byte equals its neighbour, and the first one the pattern.
    const auto size = static_cast<USize>(end - begin);
    return size == 0 || (*begin == Pattern && std::memcmp(begin, begin + 1, size - 1) == 0);
}

bool IsFrontIntact(const BlockRecord& record) noexcept
{
    return IsIntact(record.begin, record.block);
}

bool IsBackIntact(const BlockRecord& record) noexcept
{
    return IsIntact(record.block + record.size, record.end);
}

/// The overwritten byte that is nearest to a block with a damaged front or back.
const char* FindDamage(const BlockRecord& record, bool inFront) noexcept
{
    const char* byte = inFront ? record.block - 1 : record.block + record.size;
    while (*byte == Pattern && (inFront ? byte > record.begin : byte + 1 < record.end)) {
        byte += inFront ? -1 : 1;
    }
    return byte;
}

} // namespace

void ProtectedHeap::Initialize(const ProtectedOptions& options) noexcept
{
    options_ = options;
    table_.Initialize(options.lockdown, options.collectStacks);
    mappingReserve_.SetAside();
}

void* ProtectedHeap::Allocate(USize size) noexcept
{
    BlockRecord record = {};
    if (size > MaxSize || (!MakeGuarded(size, record) && !MakeUnguarded(size, record))) {
        return nullptr;
    }
    FillSurroundings(record);
    if (!Enter(record)) {
        Dispose(record);
        return nullptr;
    }
    return record.block;
}

void* ProtectedHeap::Reallocate(void* block, USize size) noexcept
{
    const USize oldSize = GetSize("reallocate", block);
    void* const moved = Allocate(size);
    if (moved != nullptr) {
        std::memcpy(moved, block, std::min(oldSize, size));
        Free(block);
    }
    return moved;
}

void ProtectedHeap::Free(void* block) noexcept
{
    if (block == nullptr) {
        return;
    }
    CapturedStack stack;
    Capture(stack);
    section_.Enter();
    const Fault fault = FindFault(block);
    if (fault != Fault::None) {
        section_.Leave();
        Stop("free", block, fault);
    }
    BlockRecord& record = *table_.Find(block);
    if (BlockStacks* const stacks = table_.GetStacks(record)) {
        stacks->freed = stack;
    }
    const BlockRecord freed = record;
    table_.MarkFreed(record);
    section_.Leave();
    Dispose(freed);
}

USize ProtectedHeap::GetSize(void* block) noexcept
{
    return GetSize("msize", block);
}

USize ProtectedHeap::GetSize(const char* operation, const void* block) noexcept
{
    section_.Enter();
    const Fault fault = FindFault(block);
    const USize size = fault == Fault::None ? table_.Find(block)->size : 0;
    section_.Leave();
    if (fault != Fault::None) {
        Stop(operation, block, fault);
    }
    return size;
}

bool ProtectedHeap::Check() noexcept
{
    const CriticalSectionGuard guard(section_);
    return table_.FindIf([](const BlockRecord& record) {
        return record.state == BlockState::Live && !(IsFrontIntact(record) && IsBackIntact(record));
    }) == nullptr;
}

bool ProtectedHeap::Describe(const void* address, char* text, USize size) noexcept
{
    TextWriter writer(text, size);
    Snapshot snapshot;
    const bool known = TakeSnapshot(address, snapshot);
    if (known) {
        DescribeBlock(writer, address, snapshot.record, snapshot.hasStacks ? &snapshot.stacks : nullptr);
    }
    return known;
}

bool ProtectedHeap::MakeGuarded(USize size, BlockRecord& record) noexcept
{
    GuardedPages pages;
    if (guardedCount_.load(std::memory_order_relaxed) >= guardedLimit_.load(std::memory_order_relaxed)) {
        return false;
    }
    if (!MakeGuardedPages(size, options_.backwards, pages)) {
        NoteMissingGuard();
        return false;
    }
    guardedCount_.fetch_add(1, std::memory_order_relaxed);
    record.block = options_.backwards ? pages.begin : pages.end - RoundUp(size);
    record.size = size;
    record.begin = pages.begin;
    record.end = pages.end;
    record.region = pages.region;
    record.regionSize = pages.regionSize;
    return true;
}

/// Tells a lack of mappings from a block that was merely too large.
void ProtectedHeap::NoteMissingGuard() noexcept
{
    GuardedPages probe;
    if (MakeGuardedPages(1, false, probe)) {
        ReleaseGuardedPages(probe.region, probe.regionSize);
        return;
    }
    const CriticalSectionGuard guard(section_);
    guardedLimit_.store(guardedCount_.load(std::memory_order_relaxed), std::memory_order_relaxed);
    mappingReserve_.GiveBack();
}

bool ProtectedHeap::MakeUnguarded(USize size, BlockRecord& record) noexcept
{
    const USize room = RoundUp(size) + Alignment;
    record.block = static_cast<char*>(GetSystemHeap().allocate(room));
    if (record.block == nullptr) {
        return false;
    }
    record.size = size;
    record.begin = record.block;
    record.end = record.block + room;
    record.region = nullptr;
    if (!noted_.exchange(true, std::memory_order_relaxed)) {
        DBPrintf(
            "QVRoot: no guard page could be made beside %llu others; blocks without one are handed out\n",
            guardedCount_.load(std::memory_order_relaxed));
    }
    return true;
}

bool ProtectedHeap::Enter(const BlockRecord& record) noexcept
{
    CapturedStack stack;
    Capture(stack);
    const CriticalSectionGuard guard(section_);
    BlockRecord* const entered = table_.Insert(record);
    if (entered == nullptr) {
        return false;
    }
    if (BlockStacks* const stacks = table_.GetStacks(*entered)) {
        stacks->allocated = stack;
    }
    return true;
}

void ProtectedHeap::Dispose(const BlockRecord& record) noexcept
{
    if (record.region == nullptr) {
        GetSystemHeap().free(record.block);
        return;
    }
    if (options_.lockdown) {
        LockGuardedPages(record.region, record.regionSize);
    } else {
        ReleaseGuardedPages(record.region, record.regionSize);
    }
    guardedCount_.fetch_sub(1, std::memory_order_relaxed);
}

void ProtectedHeap::Capture(CapturedStack& stack) const noexcept
{
    stack.depth = 0;
    if (options_.collectStacks) {
        stack.thread = GetCurrentThreadNumber();
        stack.depth = CaptureStack(stack.addresses, CapturedStack::MaxDepth, 1);
    }
}

ProtectedHeap::Fault ProtectedHeap::FindFault(const void* block) noexcept
{
    const BlockRecord* const record = table_.Find(block);
    if (record == nullptr) {
        return table_.FindAround(block) == nullptr ? Fault::NoBlock : Fault::InsideBlock;
    }
    if (record->state != BlockState::Live) {
        return Fault::FreedBefore;
    }
    if (!IsFrontIntact(*record)) {
        return Fault::DamagedFront;
    }
    return IsBackIntact(*record) ? Fault::None : Fault::DamagedBack;
}

const char* ProtectedHeap::GetText(Fault fault) noexcept
{
    switch (fault) {
    case Fault::FreedBefore:
        return "the block was freed before";
    case Fault::NoBlock:
        return "no block has this address";
    case Fault::InsideBlock:
        return "this is no block's beginning";
    case Fault::DamagedFront:
        return "bytes in front of the block were overwritten";
    case Fault::DamagedBack:
        return "bytes behind the block were overwritten";
    case Fault::None:
        break;
    }
    return "";
}

bool ProtectedHeap::TakeSnapshot(const void* address, Snapshot& snapshot) noexcept
{
    const CriticalSectionGuard guard(section_);
    BlockRecord* found = table_.Find(address);
    if (found == nullptr) {
        found = table_.FindAround(address);
    }
    if (found == nullptr) {
        return false;
    }
    const BlockStacks* const stacks = table_.GetStacks(*found);
    snapshot.record = *found;
    snapshot.hasStacks = stacks != nullptr;
    if (stacks != nullptr) {
        snapshot.stacks = *stacks;
    }
    return true;
}

void ProtectedHeap::Stop(const char* operation, const void* block, Fault fault) noexcept
{
    char text[12288];
    TextWriter writer(text, sizeof(text));
    writer.Write("QVRoot: damaged heap, found by %s(0x%016llX): %s\n", operation,
                 reinterpret_cast<UInt64>(block), GetText(fault));
    Snapshot snapshot;
    if (TakeSnapshot(block, snapshot)) {
        if (fault == Fault::DamagedFront || fault == Fault::DamagedBack) {
            DescribeDamage(writer, FindDamage(snapshot.record, fault == Fault::DamagedFront),
                           snapshot.record);
        }
        DescribeBlock(writer, block, snapshot.record, snapshot.hasStacks ? &snapshot.stacks : nullptr);
    }
    ReportDamagedHeap(text);
}

ProtectedHeap& GetProcessProtectedHeap() noexcept
{
    static constinit ProtectedHeap heap;
    return heap;
}

const BackEnd& GetProtectedHeap() noexcept
{
    static constexpr BackEnd backEnd = {
        [](USize size) { return GetProcessProtectedHeap().Allocate(size); },
        [](void* block, USize size) { return GetProcessProtectedHeap().Reallocate(block, size); },
        [](void* block) { GetProcessProtectedHeap().Free(block); },
        [](void* block) { return GetProcessProtectedHeap().GetSize(block); },
        [] { return GetProcessProtectedHeap().Check(); },
        "Protected",
    };
    static const bool initialized = [] {
        GetProcessProtectedHeap().Initialize(
            {DBGetBool(MemoryManagerSection, "protectedAllocBackwards", false),
             DBGetBool(MemoryManagerSection, "protectedAllocLockdown", false),
             DBGetBool(MemoryManagerSection, "protectedAllocCollectStacks", false)});
        return true;
    }();
    static_cast<void>(initialized);
    return backEnd;
}

} // namespace QV::Impl
