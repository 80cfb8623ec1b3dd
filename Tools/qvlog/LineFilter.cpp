#include "LineFilter.hpp"

#include <algorithm>
#include <stdexcept>

namespace QVLog {

namespace {

char ToLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 0x20) : c;
}

/// "Open.cpp" and "Editor/Open.cpp" are ends of "src/Editor/Open.cpp"; "pen.cpp" is none.
bool IsEndOfPath(std::string_view path, std::string_view end)
{
    return path.ends_with(end) && (path.size() == end.size() || path[path.size() - end.size() - 1] == '/' ||
                                   path[path.size() - end.size() - 1] == '\\');
}

bool IsSite(const Descriptor& descriptor, std::string_view wanted)
{
    if (descriptor.function == wanted || IsEndOfPath(descriptor.file, wanted)) {
        return true;
    }
    const std::size_t colon = wanted.rfind(':');
    return colon != std::string_view::npos && IsEndOfPath(descriptor.file, wanted.substr(0, colon)) &&
           std::to_string(descriptor.number) == wanted.substr(colon + 1);
}

bool IsWithin(std::string_view category, std::string_view wanted)
{
    return category.starts_with(wanted) &&
           (category.size() == wanted.size() || category[wanted.size()] == '.');
}

std::int64_t RequireTime(const std::string& text, std::int32_t zone)
{
    std::int64_t time = 0;
    if (!ParseTime(text, zone, time)) {
        throw std::invalid_argument("'" + text + "' is no time; write 2025-11-21 or 2025-11-21T22:00:00");
    }
    return time;
}

} // namespace

LineFilter::LineFilter(const Filter& filter)
    : filter_(filter), isNeeded_(!filter.since.empty() || !filter.until.empty() || !filter.threads.empty() ||
                                 !filter.sites.empty() || !filter.categories.empty() ||
                                 filter.level != Level::Unknown || !filter.text.empty())
{
    for (const std::string& time : {filter_.since, filter_.until}) {
        if (!time.empty()) {
            RequireTime(time, 0);
        }
    }
    if (filter_.ignoresCase) {
        std::transform(filter_.text.begin(), filter_.text.end(), filter_.text.begin(), ToLower);
    }
}

bool LineFilter::WantsSite(const Descriptor& descriptor) const
{
    if (filter_.level != Level::Unknown && descriptor.level < filter_.level) {
        return false;
    }
    const auto isOneOf = [&](const std::vector<std::string>& wanted, auto fits) {
        return wanted.empty() || std::any_of(wanted.begin(), wanted.end(), fits);
    };
    return isOneOf(
               filter_.categories,
               [&](const std::string& category) { return IsWithin(GetCategory(descriptor), category); }) &&
           isOneOf(filter_.sites, [&](const std::string& site) { return IsSite(descriptor, site); });
}

bool LineFilter::WantsMoment(const LogReader& reader)
{
    if (!hasZone_ || zone_ != reader.GetUtcOffset()) {
        hasZone_ = true;
        zone_ = reader.GetUtcOffset();
        const std::int32_t zone = filter_.isUtc ? 0 : zone_;
        since_ = filter_.since.empty() ? INT64_MIN : RequireTime(filter_.since, zone);
        until_ = filter_.until.empty() ? INT64_MAX : RequireTime(filter_.until, zone);
    }
    const std::int64_t time = reader.GetMicroseconds();
    return time >= since_ && time < until_ && (filter_.threads.empty() || WantsThread(reader));
}

bool LineFilter::WantsThread(const LogReader& reader) const
{
    const std::string id = std::to_string(reader.GetThread());
    const std::string& name = reader.GetThreadName(reader.GetThread());
    return std::any_of(filter_.threads.begin(), filter_.threads.end(),
                       [&](const std::string& wanted) { return wanted == id || wanted == name; });
}

bool LineFilter::HasText(std::string_view message) const
{
    if (!filter_.ignoresCase) {
        return message.find(filter_.text) != std::string_view::npos;
    }
    return std::search(message.begin(), message.end(), filter_.text.begin(), filter_.text.end(),
                       [](char a, char b) { return ToLower(a) == b; }) != message.end();
}

} // namespace QVLog
