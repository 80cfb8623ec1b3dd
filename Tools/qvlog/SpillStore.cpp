#include "SpillStore.hpp"

#include "System.hpp"

#include <cstring>

namespace QVLog {

std::uint64_t SpillStore::Append(std::string_view bytes)
{
    if (chunks_.empty() || used_ + bytes.size() > chunkSize) {
        if ((chunks_.size() - spilled_ + 1) * chunkSize > limit_ && spilled_ < chunks_.size()) {
            SpillFirst();
        }
        chunks_.push_back(std::make_unique_for_overwrite<char[]>(chunkSize));
        used_ = 0;
    }
    std::memcpy(chunks_.back().get() + used_, bytes.data(), bytes.size());
    const std::uint64_t position = (chunks_.size() - 1) * std::uint64_t{chunkSize} + used_;
    used_ += bytes.size();
    return position;
}

void SpillStore::SpillFirst()
{
    if (file_ == nullptr) {
        file_.reset(OpenTemporary());
    }
    const std::uint64_t place = std::uint64_t{spilled_} * chunkSize;
    if (file_ != nullptr && (!SeekTo(file_.get(), place) ||
                             std::fwrite(chunks_[spilled_].get(), 1, chunkSize, file_.get()) != chunkSize)) {
        file_.reset(); // the disk is full
    }
    chunks_[spilled_++].reset();
}

std::string_view SpillStore::Read(std::uint64_t position, std::size_t length, std::string& scratch) const
{
    const std::size_t chunk = static_cast<std::size_t>(position / chunkSize);
    if (chunk >= spilled_) {
        return {chunks_[chunk].get() + position % chunkSize, length};
    }
    scratch.resize(length);
    if (file_ == nullptr || !SeekTo(file_.get(), position) ||
        std::fread(scratch.data(), 1, length, file_.get()) != length) {
        return {};
    }
    return scratch;
}

void SpillStore::Clear()
{
    // The first chunk stays for the next block.
    if (chunks_.size() > 1 || spilled_ != 0) {
        chunks_.clear();
        file_.reset();
        spilled_ = 0;
        used_ = chunkSize;
    } else if (!chunks_.empty()) {
        used_ = 0;
    }
}

} // namespace QVLog
