#include "DescriptorTable.hpp"

#include <algorithm>

namespace QVLog {

namespace {

/// Of descriptors that are kept ready; others are parsed again when they are used.
constexpr std::size_t mostParsedBytes = 2 << 20;

} // namespace

const Descriptor* DescriptorTable::Enter(std::unique_ptr<Descriptor> descriptor, std::string_view bytes)
{
    const std::uint16_t id = descriptor->id;
    Kept& kept = kept_[id];
    kept.position = bytes_.Append(bytes);
    kept.size = static_cast<std::uint32_t>(bytes.size());
    const Descriptor* const entered = Keep(kept, std::move(descriptor));
    const auto end = ring_.begin() + used_;
    const auto slot = std::find(ring_.begin(), end, id);
    if (slot == end) {
        TakeSlot(id, entered);
        return entered;
    }
    for (std::uint32_t i = static_cast<std::uint32_t>(slot - ring_.begin()); i < used_; ++i) {
        if (ring_[i] == id) {
            parsed_[i] = entered;
        }
    }
    return entered;
}

const Descriptor* DescriptorTable::Keep(Kept& kept, std::unique_ptr<Descriptor> descriptor)
{
    const std::size_t footprint = descriptor->GetFootprint();
    if (parsedBytes_ + footprint > mostParsedBytes) {
        for (auto& [id, other] : kept_) {
            other.parsed.reset();
        }
        parsed_.fill(nullptr);
        parsedBytes_ = 0;
    }
    parsedBytes_ += footprint;
    kept.parsed = std::move(descriptor);
    return kept.parsed.get();
}

const Descriptor* DescriptorTable::Find(std::uint16_t id)
{
    const auto found = kept_.find(id);
    if (found == kept_.end()) {
        return nullptr;
    }
    Kept& kept = found->second;
    if (kept.parsed != nullptr) {
        return kept.parsed.get();
    }
    std::string scratch;
    const std::string_view bytes = bytes_.Read(kept.position, kept.size, scratch);
    auto descriptor = std::make_unique<Descriptor>();
    if (bytes.size() != kept.size || ParseDescriptor(bytes, *descriptor) != nullptr) {
        return nullptr;
    }
    return Keep(kept, std::move(descriptor));
}

const Descriptor* DescriptorTable::Use(std::uint16_t id)
{
    const Descriptor* const descriptor = Find(id);
    TakeSlot(id, descriptor);
    return descriptor;
}

void DescriptorTable::TakeSlot(std::uint16_t id, const Descriptor* descriptor)
{
    ring_[position_] = id;
    parsed_[position_] = descriptor;
    used_ = std::max(used_, position_ + 1);
    position_ = position_ + 1 == ring_.size() ? 0 : position_ + 1;
}

void DescriptorTable::Clear()
{
    kept_.clear();
    bytes_.Clear();
    parsedBytes_ = 0;
    used_ = position_ = 0;
}

} // namespace QVLog
