/// The strings and identifiers of a block, and the ring of those that were used last.
#pragma once

#include "Descriptor.hpp"
#include "SpillStore.hpp"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace QVLog {

class ValueTable {
public:
    /// A new value takes the next id and the next slot.
    void Enter(Type type, std::string_view bytes);
    /// A value by its id takes the next slot. False when no value has the id yet.
    bool Use(std::uint32_t id);
    /// The id in a slot; 0: none.
    std::uint32_t GetSlot(std::uint32_t slot) const { return slot < used_ ? ring_[slot] : 0; }
    /// Why not: null when `text` is the value, which lies in the table or in `scratch`.
    const char* Find(std::uint32_t id, Type type, std::string_view& text, std::string& scratch) const;
    void Clear();

private:
    struct Entry {
        std::uint64_t position;
        std::uint32_t size;
        std::uint32_t type;
    };

    void TakeSlot(std::uint32_t id);

    static constexpr std::uint32_t firstId = 2;

    SpillStore bytes_{1 << 20};
    SpillStore entries_{512 << 10};
    std::uint32_t nextId_ = firstId;
    std::array<std::uint32_t, 250> ring_ = {};
    std::uint32_t used_ = 0;
    std::uint32_t position_ = 0;
};

} // namespace QVLog
