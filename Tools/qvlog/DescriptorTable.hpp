/// The descriptors of a block, and the ring of those that were used last.
#pragma once

#include "Descriptor.hpp"
#include "SpillStore.hpp"

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <unordered_map>

namespace QVLog {

/// What it answers stands until the next call.
class DescriptorTable {
public:
    /// Takes the next slot, unless one has its id; replaces an earlier one of its id. `bytes` are what it was
    /// made of.
    const Descriptor* Enter(std::unique_ptr<Descriptor> descriptor, std::string_view bytes);
    /// The descriptor in a slot; null: none.
    const Descriptor* GetSlot(std::uint32_t slot)
    {
        if (slot >= used_) {
            return nullptr;
        }
        if (parsed_[slot] == nullptr) {
            parsed_[slot] = Find(ring_[slot]);
        }
        return parsed_[slot];
    }
    /// Null: none.
    const Descriptor* Find(std::uint16_t id);
    /// The same, and it takes the next slot.
    const Descriptor* Use(std::uint16_t id);
    void Clear();

private:
    struct Kept {
        std::uint64_t position = 0;
        std::uint32_t size = 0;
        std::unique_ptr<Descriptor> parsed; ///< null when it had to make room
    };

    const Descriptor* Keep(Kept& kept, std::unique_ptr<Descriptor> descriptor);
    void TakeSlot(std::uint16_t id, const Descriptor* descriptor);

    std::unordered_map<std::uint16_t, Kept> kept_;
    SpillStore bytes_{1 << 20};
    std::size_t parsedBytes_ = 0;
    std::array<std::uint16_t, 240> ring_ = {};
    std::array<const Descriptor*, 240> parsed_ = {}; ///< of the slots; null: to be looked up
    std::uint32_t used_ = 0;
    std::uint32_t position_ = 0;
};

} // namespace QVLog
