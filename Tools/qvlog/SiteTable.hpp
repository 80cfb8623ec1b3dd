/// The places that log, over all blocks and logs.
#pragma once

#include "Descriptor.hpp"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace QVLog {

struct Site {
    std::string place; ///< file and line
    std::string function;
    std::string category;
    std::string format;
    Level level = Level::Unknown;
    std::uint64_t lines = 0;
    std::uint64_t bytes = 0; ///< without descriptors
    std::uint64_t descriptorBytes = 0;
};

class SiteTable {
public:
    Site& operator[](std::uint32_t index) { return sites_[index]; }
    const std::vector<Site>& GetSites() const { return sites_; }
    std::uint32_t GetIndex(const Descriptor& descriptor)
    {
        if (descriptor.tag == 0) {
            descriptor.tag = Enter(descriptor) + 1;
        }
        return descriptor.tag - 1;
    }

private:
    /// More are counted as one, "others".
    static constexpr std::size_t most = 20000;
    static constexpr std::size_t mostBytes = 4 << 20;

    std::uint32_t Enter(const Descriptor& descriptor);

    std::vector<Site> sites_;
    std::size_t bytes_ = 0; ///< of their texts
    std::unordered_map<std::string, std::uint32_t> indexes_;
};

} // namespace QVLog
