#include "SiteTable.hpp"

#include "LineWriter.hpp"

namespace QVLog {

namespace {

constexpr std::size_t longestName = 160;

} // namespace

std::uint32_t SiteTable::Enter(const Descriptor& descriptor)
{
    Site site;
    std::string place;
    AppendSite(place, descriptor);
    AppendVisible(site.place, std::string_view(place).substr(0, longestName));
    AppendVisible(site.function, std::string_view(descriptor.function).substr(0, longestName));
    AppendVisible(site.category, GetCategory(descriptor).substr(0, longestName));
    AppendVisible(site.format, std::string_view(descriptor.format).substr(0, longestName));
    site.level = descriptor.level;
    std::string key = site.place + '\n' + site.function + '\n' + site.format;
    const bool isKnown = indexes_.contains(key);
    if (!isKnown && (sites_.size() >= most || bytes_ >= mostBytes)) {
        site = {};
        site.place = key = "others";
    }
    const auto [found, isNew] = indexes_.emplace(std::move(key), static_cast<std::uint32_t>(sites_.size()));
    if (isNew) {
        bytes_ += 2 * found->first.size() + site.category.size() + sizeof(Site);
        sites_.push_back(std::move(site));
    }
    return found->second;
}

} // namespace QVLog
