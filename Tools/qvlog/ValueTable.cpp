#include "ValueTable.hpp"

#include "Bytes.hpp"

#include <algorithm>

namespace QVLog {

void ValueTable::Enter(Type type, std::string_view bytes)
{
    const Entry entry = {bytes_.Append(bytes), static_cast<std::uint32_t>(bytes.size()),
                         static_cast<std::uint32_t>(type)};
    entries_.Append({reinterpret_cast<const char*>(&entry), sizeof(entry)});
    TakeSlot(nextId_++);
}

bool ValueTable::Use(std::uint32_t id)
{
    if (id < firstId || id >= nextId_) {
        return false;
    }
    TakeSlot(id);
    return true;
}

void ValueTable::TakeSlot(std::uint32_t id)
{
    ring_[position_] = id;
    used_ = std::max(used_, position_ + 1);
    position_ = position_ + 1 == ring_.size() ? 0 : position_ + 1;
}

const char* ValueTable::Find(std::uint32_t id, Type type, std::string_view& text, std::string& scratch) const
{
    // Entries fill their chunks to the last byte, so their places follow from their numbers.
    const std::string_view bytes =
        entries_.Read(std::uint64_t{id - firstId} * sizeof(Entry), sizeof(Entry), scratch);
    if (bytes.size() != sizeof(Entry)) {
        return "more values than there is room for";
    }
    const auto entry = GetNumber<Entry>(bytes.data());
    if (entry.type != static_cast<std::uint32_t>(type)) {
        return "a value of the other kind";
    }
    text = bytes_.Read(entry.position, entry.size, scratch);
    return text.size() == entry.size ? nullptr : "more values than there is room for";
}

void ValueTable::Clear()
{
    bytes_.Clear();
    entries_.Clear();
    nextId_ = firstId;
    used_ = position_ = 0;
}

} // namespace QVLog
