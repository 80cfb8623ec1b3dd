/// What a programmer writes by hand for objects of one size: a list of free blocks, refilled 64 at a time and
/// never given back, bare or behind a spin lock. Nothing leads from a block to where it belongs.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <vector>

#include <sched.h>

namespace QV {

class FreeList {
public:
    explicit FreeList(USize size) : size_(size) {}

    void* Allocate()
    {
        if (first_ == nullptr) [[unlikely]] {
            Refill();
        }
        Block* const block = first_;
        first_ = block->next;
        return block;
    }
    void Free(void* memory)
    {
        auto* const block = static_cast<Block*>(memory);
        block->next = first_;
        first_ = block;
    }

private:
    struct Block {
        Block* next;
    };

    [[gnu::noinline]] void Refill()
    {
        chunks_.push_back(std::make_unique_for_overwrite<char[]>(64 * size_));
        for (USize i = 64; i-- > 0;) {
            Free(chunks_.back().get() + i * size_);
        }
    }

    Block* first_ = nullptr;
    USize size_;
    std::vector<std::unique_ptr<char[]>> chunks_;
};

class LockedFreeList {
public:
    explicit LockedFreeList(USize size) : list_(size) {}

    void* Allocate()
    {
        Lock();
        void* const block = list_.Allocate();
        held_.store(false, std::memory_order_release);
        return block;
    }
    void Free(void* memory)
    {
        Lock();
        list_.Free(memory);
        held_.store(false, std::memory_order_release);
    }

private:
    void Lock()
    {
        for (int tries = 0; held_.exchange(true, std::memory_order_acquire); ++tries) {
            while (held_.load(std::memory_order_relaxed)) {
                if (++tries % 64 == 0) {
                    sched_yield();
                }
            }
        }
    }

    std::atomic<bool> held_ = false;
    FreeList list_;
};

} // namespace QV
