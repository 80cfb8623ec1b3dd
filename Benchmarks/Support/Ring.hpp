/// A ring between one thread that writes and one that reads.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

#include <atomic>

namespace QV {

class Ring {
public:
    void Put(void* block)
    {
        const USize tail = tail_.load(std::memory_order_relaxed);
        while (tail - knownHead_ == capacity) {
            knownHead_ = head_.load(std::memory_order_acquire);
        }
        places_[tail % capacity] = block;
        tail_.store(tail + 1, std::memory_order_release);
    }
    void* Get()
    {
        const USize head = head_.load(std::memory_order_relaxed);
        while (head == knownTail_) {
            knownTail_ = tail_.load(std::memory_order_acquire);
        }
        void* const block = places_[head % capacity];
        head_.store(head + 1, std::memory_order_release);
        return block;
    }

private:
    static constexpr USize capacity = 1024;

    alignas(128) std::atomic<USize> head_ = 0;
    USize knownTail_ = 0;
    alignas(128) std::atomic<USize> tail_ = 0;
    USize knownHead_ = 0;
    alignas(128) void* places_[capacity] = {};
};

} // namespace QV
