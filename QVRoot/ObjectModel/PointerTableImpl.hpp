/// Numbers for addresses: which object has which number in a graph.
///
/// Errors: `OutOfMemoryException`; the table is then as it was. Allocation: one block, at least a third of it
/// empty.
#pragma once

#include <QVRoot/MemoryManagement/Core/MemoryManager.hpp>

#include <cstring>
#include <utility>

namespace QV::Impl {

class PointerTable {
public:
    PointerTable() noexcept = default;
    ~PointerTable() { MemoryManager::Free(slots_); }
    PointerTable(const PointerTable&) = delete;
    PointerTable& operator=(const PointerTable&) = delete;

    UInt32 GetCount() const noexcept { return count_; }

    /// The number of an address, which must not be null; one that is new gets the next number, from 1 on.
    UInt32 FindOrAdd(const void* address)
    {
        if (count_ >= limit_) [[unlikely]] {
            Grow();
        }
        Slot* const slot = Probe(address);
        if (slot->address == nullptr) {
            slot->address = address;
            slot->number = ++count_;
        }
        return slot->number;
    }

private:
    struct Slot {
        const void* address;
        UInt32 number;
    };

    Slot* Probe(const void* address) const noexcept
    {
        UInt32 index =
            static_cast<UInt32>((reinterpret_cast<USize>(address) * 0x9E3779B97F4A7C15u) >> shift_);
        while (slots_[index].address != nullptr && slots_[index].address != address) {
            index = (index + 1) & mask_;
        }
        return &slots_[index];
    }

    void Grow()
    {
        const UInt32 bits = slots_ == nullptr ? 6 : 64 - shift_ + 1;
        const USize size = sizeof(Slot) << bits;
        PointerTable grown;
        grown.slots_ = static_cast<Slot*>(MemoryManager::Allocate(size, MemoryManager::ThrowOnFailure, true));
        std::memset(static_cast<void*>(grown.slots_), 0, size);
        grown.shift_ = 64 - bits;
        grown.mask_ = (UInt32{1} << bits) - 1;
        grown.limit_ = static_cast<UInt32>((UInt64{2} << bits) / 3);
        grown.count_ = count_;
        for (USize i = 0; slots_ != nullptr && i <= mask_; ++i) {
            if (slots_[i].address != nullptr) {
                *grown.Probe(slots_[i].address) = slots_[i];
            }
        }
        std::swap(slots_, grown.slots_);
        shift_ = grown.shift_;
        mask_ = grown.mask_;
        limit_ = grown.limit_;
    }

    Slot* slots_ = nullptr;
    UInt32 shift_ = 0;
    UInt32 mask_ = 0;
    UInt32 limit_ = 0;
    UInt32 count_ = 0;
};

} // namespace QV::Impl
