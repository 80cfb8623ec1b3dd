#include <QVRoot/MemoryManagement/Core/Protected/BlockTableImpl.hpp>

namespace QV::Impl {

void BlockTable::Initialize(bool lockdown, bool withStacks) noexcept
{
    constexpr UInt32 fewThousand = 4096;
    freedLimit_ = lockdown ? MaxRecords : fewThousand;
    withStacks_ = withStacks;
    chains_.Reserve(ChainCount);
    records_.Reserve(MaxRecords);
    if (withStacks) {
        stacks_.Reserve(MaxRecords);
    }
}

BlockRecord* BlockTable::Find(const void* block) noexcept
{
    if (count_ == 0) {
        return nullptr;
    }
    for (UInt32 index = GetChain(block); index != 0; index = records_[index].nextInChain) {
        if (records_[index].block == block) {
            return &records_[index];
        }
    }
    return nullptr;
}

BlockRecord* BlockTable::FindAround(const void* address) noexcept
{
    const char* const wanted = static_cast<const char*>(address);
    const auto contains = [wanted](const BlockRecord& record) {
        const char* const begin = record.region == nullptr ? record.begin : record.region;
        const char* const end = record.region == nullptr ? record.end : record.region + record.regionSize;
        return begin <= wanted && wanted < end;
    };
    for (const BlockState state : {BlockState::Live, BlockState::Freed}) {
        BlockRecord* const found =
            FindIf([=](const BlockRecord& record) { return record.state == state && contains(record); });
        if (found != nullptr) {
            return found;
        }
    }
    return nullptr;
}

BlockRecord* BlockTable::Insert(const BlockRecord& block) noexcept
{
    const UInt32 index = TakeRecord();
    if (index == 0) {
        return nullptr;
    }
    if (BlockRecord* const previous = Find(block.block)) {
        Unlink(*previous);
        previous->state = BlockState::Superseded;
    }
    BlockRecord& record = records_[index];
    record = block;
    record.state = BlockState::Live;
    UInt32& chain = GetChain(block.block);
    record.nextInChain = chain;
    chain = index;
    return &record;
}

void BlockTable::MarkFreed(BlockRecord& record) noexcept
{
    const UInt32 index = GetIndex(record);
    record.state = BlockState::Freed;
    record.nextInLine = 0;
    (newestFreed_ == 0 ? oldestFreed_ : records_[newestFreed_].nextInLine) = index;
    newestFreed_ = index;
    if (++freedCount_ > freedLimit_) {
        ForgetOldest();
    }
}

BlockStacks* BlockTable::GetStacks(const BlockRecord& record) noexcept
{
    return withStacks_ ? &stacks_[GetIndex(record)] : nullptr;
}

UInt32& BlockTable::GetChain(const void* block) noexcept
{
    // Blocks begin at multiples of 16, mostly near the end of a page: mix, and take the upper bits.
    const UInt64 mixed = reinterpret_cast<UInt64>(block) / 16 * 0x9E3779B97F4A7C15;
    return chains_[mixed >> 48];
}

UInt32 BlockTable::GetIndex(const BlockRecord& record) const noexcept
{
    return static_cast<UInt32>(&record - &records_[0]);
}

UInt32 BlockTable::TakeRecord() noexcept
{
    if (unused_ == 0 && AddRecord()) {
        return count_;
    }
    if (unused_ == 0 && oldestFreed_ != 0) {
        ForgetOldest();
    }
    const UInt32 index = unused_;
    if (index != 0) {
        unused_ = records_[index].nextInLine;
    }
    return index;
}

bool BlockTable::AddRecord() noexcept
{
    const USize needed = USize{count_} + 2; // index 0 stays free
    const bool added =
        chains_.Extend(ChainCount) && records_.Extend(needed) && (!withStacks_ || stacks_.Extend(needed));
    count_ += added;
    return added;
}

void BlockTable::Unlink(const BlockRecord& record) noexcept
{
    const UInt32 index = GetIndex(record);
    UInt32* link = &GetChain(record.block);
    while (*link != index) {
        link = &records_[*link].nextInChain;
    }
    *link = record.nextInChain;
}

void BlockTable::ForgetOldest() noexcept
{
    const UInt32 index = oldestFreed_;
    BlockRecord& record = records_[index];
    oldestFreed_ = record.nextInLine;
    if (oldestFreed_ == 0) {
        newestFreed_ = 0;
    }
    --freedCount_;
    if (record.state == BlockState::Freed) {
        Unlink(record);
    }
    record.state = BlockState::Unused;
    record.nextInLine = unused_;
    unused_ = index;
}

} // namespace QV::Impl
