#include "Commands.hpp"

#include "JsonText.hpp"
#include "LineFilter.hpp"
#include "LineWriter.hpp"
#include "Merger.hpp"
#include "Output.hpp"
#include "ReportPage.hpp"
#include "SiteTable.hpp"
#include "System.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace QVLog {

namespace {

/// Numbers the threads of all runs.
class ThreadTable {
public:
    std::uint32_t GetIndex(const LineSource& source)
    {
        const std::uint64_t thread = source.GetReader().GetThread();
        if (source.GetRun() == lastRun_ && thread == lastThread_) {
            return last_;
        }
        lastRun_ = source.GetRun();
        lastThread_ = thread;
        std::string key = std::to_string(lastRun_) + ' ' + std::to_string(thread);
        const bool isFull = names_.size() >= most && !indexes_.contains(key);
        if (isFull) {
            key = "others";
        }
        const auto [found, isNew] = indexes_.emplace(key, static_cast<std::uint32_t>(names_.size()));
        if (isNew) {
            names_.emplace_back();
        }
        // A name may come later than the first lines.
        std::string& name = names_[found->second];
        name.clear();
        if (isFull) {
            name = key;
        } else {
            AppendThread(name, source.GetReader());
        }
        return last_ = found->second;
    }
    const std::vector<std::string>& GetNames() const { return names_; }

private:
    static constexpr std::size_t most = 8192;

    std::uint32_t lastRun_ = 0;
    std::uint64_t lastThread_ = 0;
    std::uint32_t last_ = 0;
    std::vector<std::string> names_;
    std::unordered_map<std::string, std::uint32_t> indexes_;
};

/// Text for the inside of a script element: its only sign that could end it is written as a control
/// character, of which visible text has none.
void AppendForScript(std::string& to, std::string_view bytes)
{
    const std::size_t from = to.size();
    AppendVisible(to, bytes);
    std::replace(to.begin() + static_cast<std::ptrdiff_t>(from), to.end(), '<', '\x01');
}

void AppendJsonForScript(std::string& to, const std::string& json)
{
    for (const char c : json) {
        if (c == '<') {
            to += "\\u003C";
        } else {
            to += c;
        }
    }
}

class ReportWriter {
public:
    ReportWriter(const Options& options, std::FILE* file)
        : options_(options), filter_(options.filter), output_(file)
    {
    }

    bool Write(Merger& merger)
    {
        std::string& to = output_.GetText();
        to += reportHead;
        to += "<script type=\"text/plain\" id=\"lines\">\n";
        if (!WriteLines(merger)) {
            return false;
        }
        to += "</script>\n<script type=\"application/json\" id=\"tables\">";
        WriteTables();
        to += "</script>\n";
        to += reportTail;
        return output_.Flush();
    }

private:
    /// A line is: microseconds since the line before, thread, site, text.
    bool WriteLines(Merger& merger)
    {
        std::string& to = output_.GetText();
        while (const LineSource* const source = merger.Next()) {
            const LogReader& reader = source->GetReader();
            const auto makeMessage = [&] {
                message_.clear();
                AppendMessage(message_, reader.GetDescriptor(), reader.GetValues(), clock_,
                              reader.GetUtcOffset());
                return std::string_view(message_);
            };
            if (!filter_.Wants(*source, makeMessage)) {
                continue;
            }
            if (count_++ == 0) {
                first_ = last_ = reader.GetMicroseconds();
                zone_ = reader.GetUtcOffset();
            }
            AppendNumber(to, reader.GetMicroseconds() - last_);
            last_ = reader.GetMicroseconds();
            to += '\t';
            AppendNumber(to, threads_.GetIndex(*source));
            to += '\t';
            AppendNumber(to, sites_.GetIndex(reader.GetDescriptor()));
            to += '\t';
            AppendForScript(to, makeMessage());
            to += '\n';
            if (!output_.FlushIfLong()) {
                return false;
            }
        }
        return true;
    }

    void WriteTables()
    {
        std::string json;
        JsonText object;
        json += "{\"title\":";
        AppendString(json, options_.title.empty() ? options_.files.front() : options_.title);
        json += ",\"first\":" + std::to_string(first_) + ",\"zone\":" + std::to_string(zone_) +
                ",\"count\":" + std::to_string(count_) + ",\"threads\":[";
        for (std::size_t i = 0; i < threads_.GetNames().size(); ++i) {
            json += i == 0 ? "" : ",";
            AppendString(json, threads_.GetNames()[i]);
        }
        json += "],\"sites\":[";
        for (std::size_t i = 0; i < sites_.GetSites().size(); ++i) {
            const Site& site = sites_.GetSites()[i];
            json += i == 0 ? "\n" : ",\n";
            object.BeginObject(json);
            object.Add("place", site.place);
            object.Add("function", site.function);
            object.Add("category", site.category);
            object.Add("format", site.format);
            object.Add("level", GetLevelName(site.level));
            object.EndObject();
        }
        json += "]}";
        AppendJsonForScript(output_.GetText(), json);
    }

    static void AppendString(std::string& json, std::string_view text)
    {
        std::string visible;
        AppendVisible(visible, text);
        AppendJson(json, visible);
    }

    const Options& options_;
    LineFilter filter_;
    Output output_;
    Clock clock_;
    std::string message_;
    ThreadTable threads_;
    SiteTable sites_;
    std::uint64_t count_ = 0;
    std::int64_t first_ = 0;
    std::int64_t last_ = 0;
    std::int32_t zone_ = 0;
};

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

} // namespace

int WriteReport(const Options& options)
{
    auto sources = OpenSources(options, false);
    if (sources.empty()) {
        return CannotRead;
    }
    Merger merger(std::move(sources));
    const std::unique_ptr<std::FILE, CloseFile> file(OpenForWriting(options.output));
    if (file == nullptr) {
        Complain(options.output, std::strerror(errno));
        return CannotWrite;
    }
    if (!ReportWriter(options, file.get()).Write(merger)) {
        Complain(options.output, std::strerror(errno));
        return CannotWrite;
    }
    bool isLog = false;
    for (const auto& source : merger.GetSources()) {
        source->ReportEnd();
        isLog |= source->GetStatus() != NoLog;
    }
    return isLog ? Sound : NoLog;
}

} // namespace QVLog
