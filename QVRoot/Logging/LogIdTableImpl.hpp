/// The log's tables of repeated values: from a string's hash or an identifier to its number in the block.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <cstring>

namespace QV::Impl {

/// Open addressing over a power of two. Numbers are never 0. Without memory an entry is not kept, and the
/// value is simply sent again.
template <class Key, UInt64 (*GetHash)(const Key&)>
class LogIdTable {
public:
    LogIdTable() noexcept = default;
    ~LogIdTable() { MemoryManager::Free(entries_); }
    LogIdTable(const LogIdTable&) = delete;
    LogIdTable& operator=(const LogIdTable&) = delete;

    /// The value's number; 0 when it has none.
    UInt32 Find(const Key& key) const noexcept
    {
        return entries_ != nullptr ? entries_[FindPlace(key)].id : 0;
    }

    /// Keeps the number of a value that has none yet.
    void Insert(const Key& key, UInt32 id) noexcept
    {
        if (count_ * 2 >= capacity_ && !Resize(capacity_ == 0 ? smallest : capacity_ * 2)) {
            return;
        }
        entries_[FindPlace(key)] = {key, id};
        ++count_;
    }

    void Clear() noexcept
    {
        if (capacity_ > smallest && count_ < capacity_ / 16) {
            // A block with many values must not slow down all those behind it.
            MemoryManager::Free(entries_);
            entries_ = nullptr;
            capacity_ = 0;
        } else if (count_ != 0) {
            std::memset(static_cast<void*>(entries_), 0, sizeof(Entry) * capacity_);
        }
        count_ = 0;
    }

private:
    static constexpr UInt32 smallest = 256;
    static constexpr UInt32 largest = 1u << 26;

    struct Entry {
        Key key;
        UInt32 id;
    };

    /// Where the key is, or the free place where it belongs. There is always one.
    UInt32 FindPlace(const Key& key) const noexcept
    {
        UInt32 place = static_cast<UInt32>((GetHash(key) * 0x9E3779B97F4A7C15) >> 32) & (capacity_ - 1);
        while (entries_[place].id != 0 && !(entries_[place].key == key)) {
            place = (place + 1) & (capacity_ - 1);
        }
        return place;
    }

    bool Resize(UInt32 capacity) noexcept
    {
        const USize size = sizeof(Entry) * capacity;
        void* const block = capacity <= largest
                                ? MemoryManager::Allocate(size, MemoryManager::ReturnNullOnFailure, false)
                                : nullptr;
        if (block == nullptr) {
            return false;
        }
        std::memset(block, 0, size);
        Entry* const old = entries_;
        const UInt32 oldCapacity = capacity_;
        entries_ = static_cast<Entry*>(block);
        capacity_ = capacity;
        for (UInt32 i = 0; i < oldCapacity; ++i) {
            if (old[i].id != 0) {
                entries_[FindPlace(old[i].key)] = old[i];
            }
        }
        MemoryManager::Free(old);
        return true;
    }

    Entry* entries_ = nullptr;
    UInt32 capacity_ = 0;
    UInt32 count_ = 0;
};

} // namespace QV::Impl
