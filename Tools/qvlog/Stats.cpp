#include "Commands.hpp"

#include "Output.hpp"
#include "SiteTable.hpp"
#include "Text.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <numeric>

namespace QVLog {

namespace {

/// What the bytes of a log are spent on. Together they are all of it.
struct Spent {
    std::uint64_t headers = 0;
    std::uint64_t times = 0;
    std::uint64_t threads = 0;
    std::uint64_t descriptors = 0;
    std::uint64_t lines = 0;
    std::uint64_t own = 0; ///< the logger's own lines
    std::uint64_t dropped = 0;

    std::uint64_t GetSum() const { return headers + times + threads + descriptors + lines + own + dropped; }
};

struct Statistics {
    Spent spent;
    std::uint64_t blocks = 0;
    std::uint64_t lines = 0;
    std::uint64_t textBytes = 0; ///< of the messages as text
    std::uint64_t savedBytes = 0;
    std::int64_t first = INT64_MAX;
    std::int64_t last = INT64_MIN;
    std::int64_t second = INT64_MIN;
    std::uint64_t inSecond = 0;
    std::uint64_t mostInSecond = 0;
    SiteTable sites;
    int status = Sound;
};

class Counter {
public:
    explicit Counter(Statistics& all) : all_(all) {}

    void CountLine(const LogReader& reader)
    {
        const Descriptor& descriptor = reader.GetDescriptor();
        const std::uint64_t head = reader.HasDescriptor() ? 1 + descriptor.size : 0;
        if (descriptor.own != OwnLine::None) {
            all_.spent.own += reader.GetSize();
            return;
        }
        all_.spent.descriptors += head;
        all_.spent.lines += reader.GetSize() - head;
        all_.savedBytes += reader.GetSavedBytes();
        ++all_.lines;
        message_.clear();
        AppendMessage(message_, descriptor, reader.GetValues(), clock_, reader.GetUtcOffset());
        all_.textBytes += message_.size() + 1;
        Site& site = all_.sites[all_.sites.GetIndex(descriptor)];
        ++site.lines;
        site.bytes += reader.GetSize() - head;
        site.descriptorBytes += head;
        CountRate(reader.GetMicroseconds());
    }

private:
    void CountRate(std::int64_t time)
    {
        all_.first = std::min(all_.first, time);
        all_.last = std::max(all_.last, time);
        const std::int64_t second = time / 1000000;
        all_.inSecond = second == all_.second ? all_.inSecond + 1 : 1;
        all_.second = second;
        all_.mostInSecond = std::max(all_.mostInSecond, all_.inSecond);
    }

    Statistics& all_;
    Clock clock_;
    std::string message_;
};

void CountLog(LogReader& reader, Statistics& all)
{
    Counter counter(all);
    for (;;) {
        const Event event = reader.Next();
        switch (event) {
        case Event::Header:
            ++all.blocks;
            all.spent.headers += reader.GetSize();
            break;
        case Event::Time:
            all.spent.times += reader.GetSize();
            break;
        case Event::Thread:
            all.spent.threads += reader.GetSize();
            break;
        case Event::Line:
            counter.CountLine(reader);
            break;
        case Event::Damage:
            all.spent.dropped += reader.GetSize();
            all.status = std::max<int>(all.status, Damaged);
            break;
        case Event::TornTail:
            all.spent.dropped += reader.GetInput().GetWindow().size();
            all.status = std::max<int>(all.status, Torn);
            return;
        case Event::End:
            return;
        }
    }
}

std::string Percent(std::uint64_t part, std::uint64_t whole)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%5.1f %%",
                  whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole));
    return text;
}

void PrintSpent(std::string& to, const Spent& spent)
{
    const std::pair<const char*, std::uint64_t> rows[] = {
        {"lines", spent.lines},           {"descriptors", spent.descriptors},
        {"time changes", spent.times},    {"thread changes", spent.threads},
        {"block headers", spent.headers}, {"logger's own", spent.own},
        {"dropped", spent.dropped},       {"sum", spent.GetSum()}};
    to += "Bytes\n";
    for (const auto& [name, bytes] : rows) {
        char line[80];
        std::snprintf(line, sizeof(line), "  %-16s %14llu  ", name, static_cast<unsigned long long>(bytes));
        to += line + Percent(bytes, spent.GetSum()) + '\n';
    }
}

void PrintRates(std::string& to, Statistics& all)
{
    Clock clock;
    char line[160];
    to += "Lines\n";
    std::snprintf(line, sizeof(line), "  %llu in %llu blocks\n", static_cast<unsigned long long>(all.lines),
                  static_cast<unsigned long long>(all.blocks));
    to += line;
    if (all.lines == 0) {
        return;
    }
    const double seconds = static_cast<double>(all.last - all.first) / 1e6;
    const double lines = static_cast<double>(all.lines);
    to += "  from ";
    clock.AppendTime(to, all.first, 0);
    to += " to ";
    clock.AppendTime(to, all.last, 0);
    to += " UTC\n";
    std::snprintf(line, sizeof(line), "  %.1f a second, at most %llu in one; %.2f bytes each\n",
                  seconds > 0 ? lines / seconds : lines, static_cast<unsigned long long>(all.mostInSecond),
                  static_cast<double>(all.spent.GetSum()) / lines);
    to += line;
    std::snprintf(line, sizeof(line),
                  "  %.2f bytes each as bare text (%.1f times as many), %llu saved by codes for values\n",
                  static_cast<double>(all.textBytes) / lines,
                  static_cast<double>(all.textBytes) / static_cast<double>(all.spent.GetSum()),
                  static_cast<unsigned long long>(all.savedBytes));
    to += line;
}

void PrintSites(std::string& to, const SiteTable& table)
{
    const std::vector<Site>& sites = table.GetSites();
    std::vector<std::uint32_t> order(sites.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return sites[a].lines != sites[b].lines ? sites[a].lines > sites[b].lines : a < b;
    });
    to += "Call sites          lines          bytes  descriptors\n";
    for (const std::uint32_t index : order) {
        const Site& site = sites[index];
        char line[96];
        std::snprintf(line, sizeof(line), "  %23llu %14llu %12llu  ",
                      static_cast<unsigned long long>(site.lines),
                      static_cast<unsigned long long>(site.bytes),
                      static_cast<unsigned long long>(site.descriptorBytes));
        to += line;
        to += site.place;
        to += "  ";
        to += GetLevelName(site.level);
        to += ' ';
        to += site.category + "  " + site.format + '\n';
    }
}

} // namespace

int PrintStatistics(const Options& options)
{
    Statistics all;
    auto sources = OpenSources(options, false);
    if (sources.empty()) {
        return CannotRead;
    }
    bool isLog = false;
    for (const auto& source : sources) {
        CountLog(source->GetReader(), all);
        isLog |= source->GetReader().HasHeader();
    }
    Output output(stdout);
    PrintSpent(output.GetText(), all.spent);
    PrintRates(output.GetText(), all);
    PrintSites(output.GetText(), all.sites);
    if (!output.Flush()) {
        return CannotWrite;
    }
    return isLog ? all.status : NoLog;
}

} // namespace QVLog
