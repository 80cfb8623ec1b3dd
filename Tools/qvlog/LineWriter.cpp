#include "LineWriter.hpp"

#include "JsonText.hpp"

#include <stdexcept>
#include <unordered_map>
#include <unordered_set>

namespace QVLog {

void AppendSite(std::string& to, const Descriptor& descriptor)
{
    if (descriptor.file.empty()) {
        return;
    }
    to += descriptor.file;
    if (descriptor.number != 0) {
        to += ':';
        AppendNumber(to, descriptor.number);
    }
}

void AppendThread(std::string& to, const LogReader& reader)
{
    const std::string& name = reader.GetThreadName(reader.GetThread());
    if (name.empty()) {
        AppendNumber(to, reader.GetThread());
    } else {
        to += name;
    }
}

namespace {

enum class Field {
    Literal,
    Time,
    Date,
    Clock,
    Level,
    Category,
    Thread,
    Text,
    Site,
    File,
    Line,
    Function,
    Process,
    Run
};

constexpr std::pair<std::string_view, Field> fieldNames[] = {
    {"time", Field::Time},   {"date", Field::Date},         {"clock", Field::Clock},
    {"level", Field::Level}, {"category", Field::Category}, {"thread", Field::Thread},
    {"text", Field::Text},   {"site", Field::Site},         {"file", Field::File},
    {"line", Field::Line},   {"function", Field::Function}, {"process", Field::Process},
    {"run", Field::Run},
};

struct Part {
    Field field = Field::Literal;
    std::size_t width = 0;
    std::string literal;
};

Part ParsePart(std::string_view text)
{
    const std::size_t colon = text.find(':');
    const std::string_view name = text.substr(0, colon);
    Part part;
    for (const auto& [known, field] : fieldNames) {
        if (known == name) {
            part.field = field;
        }
    }
    bool isGood = part.field != Field::Literal;
    if (colon != std::string_view::npos) {
        const std::string_view width = text.substr(colon + 1);
        const auto [end, error] = std::from_chars(width.data(), width.data() + width.size(), part.width);
        isGood &= error == std::errc() && end == width.data() + width.size() && part.width <= 200;
    }
    if (!isGood) {
        throw std::invalid_argument("the format has no field '" + std::string(text) + "'");
    }
    return part;
}

std::vector<Part> ParseFormat(std::string_view format)
{
    std::vector<Part> parts;
    std::string literal;
    for (std::size_t i = 0; i < format.size(); ++i) {
        const char c = format[i];
        const bool isTwice = i + 1 < format.size() && format[i + 1] == c;
        if (c != '{' || isTwice) {
            literal += c;
            i += (c == '{' || c == '}') && isTwice;
            continue;
        }
        const std::size_t end = std::min(format.find('}', i), format.size());
        parts.push_back({Field::Literal, 0, std::move(literal)});
        literal.clear();
        parts.push_back(ParsePart(format.substr(i + 1, end - i - 1)));
        i = end;
    }
    parts.push_back({Field::Literal, 0, literal});
    return parts;
}

std::string_view GetColor(Level level)
{
    switch (level) {
    case Level::Fatal:
    case Level::Error:
        return "\x1B[31m";
    case Level::Warning:
        return "\x1B[33m";
    case Level::Trace:
    case Level::Debug:
    case Level::Data:
        return "\x1B[2m";
    default:
        return "";
    }
}

class TextWriter : public LineWriter {
public:
    TextWriter(const Options& options, std::string_view format)
        : parts_(ParseFormat(format)), hasColor_(options.hasColor), isUtc_(options.isUtc)
    {
    }

    void Write(std::string& to, const LineSource& source, std::string_view message) override
    {
        const std::string_view color =
            hasColor_ ? GetColor(source.GetReader().GetDescriptor().level) : std::string_view();
        to += color;
        for (const Part& part : parts_) {
            const std::size_t from = to.size();
            AppendPart(to, part, source, message);
            const std::size_t length =
                part.width == 0 ? 0 : CountCharacters(std::string_view(to).substr(from));
            to.append(part.width > length ? part.width - length : 0, ' ');
        }
        to += color.empty() ? "" : "\x1B[0m";
        to += '\n';
    }

private:
    void AppendPart(std::string& to, const Part& part, const LineSource& source, std::string_view message)
    {
        const LogReader& reader = source.GetReader();
        const Descriptor& descriptor = reader.GetDescriptor();
        const std::int32_t zone = isUtc_ ? 0 : reader.GetUtcOffset();
        switch (part.field) {
        case Field::Literal:
            to += part.literal;
            break;
        case Field::Time:
            clock_.AppendTime(to, reader.GetMicroseconds(), zone);
            break;
        case Field::Date:
        case Field::Clock:
            scratch_.clear();
            clock_.AppendTime(scratch_, reader.GetMicroseconds(), zone);
            to += part.field == Field::Date ? scratch_.substr(0, 10) : scratch_.substr(11);
            break;
        case Field::Level:
            to += GetLevelName(descriptor.level);
            break;
        case Field::Category:
            to += GetCategory(descriptor);
            break;
        case Field::Thread:
            scratch_.clear();
            AppendThread(scratch_, reader);
            AppendVisible(to, scratch_);
            break;
        case Field::Text:
            AppendVisible(to, message);
            break;
        case Field::Site:
            scratch_.clear();
            AppendSite(scratch_, descriptor);
            AppendVisible(to, scratch_);
            break;
        case Field::File:
            AppendVisible(to, descriptor.file);
            break;
        case Field::Line:
            AppendNumber(to, descriptor.number);
            break;
        case Field::Function:
            AppendVisible(to, descriptor.function);
            break;
        case Field::Process:
            AppendNumber(to, source.GetProcess());
            break;
        case Field::Run:
            AppendGuid(to, reader.GetRun().bytes.data());
            break;
        }
    }

    std::vector<Part> parts_;
    bool hasColor_;
    bool isUtc_;
    Clock clock_;
    std::string scratch_;
};

class JsonWriter : public LineWriter {
public:
    explicit JsonWriter(bool isUtc) : isUtc_(isUtc) {}

    void Write(std::string& to, const LineSource& source, std::string_view message) override
    {
        const LogReader& reader = source.GetReader();
        const Descriptor& descriptor = reader.GetDescriptor();
        JsonText& json = json_;
        json.BeginObject(to);
        const std::int32_t zone = isUtc_ ? 0 : reader.GetUtcOffset();
        scratch_.clear();
        clock_.AppendIsoTime(scratch_, reader.GetMicroseconds(), zone);
        json.Add("time", scratch_);
        if (descriptor.level != Level::Unknown) {
            json.Add("level", GetLevelName(descriptor.level));
        }
        if (const std::string_view category = GetCategory(descriptor); !category.empty()) {
            json.Add("category", category);
        }
        json.AddNumber("thread", reader.GetThread());
        if (const std::string& name = reader.GetThreadName(reader.GetThread()); !name.empty()) {
            json.Add("threadName", name);
        }
        if (!descriptor.file.empty()) {
            json.Add("file", descriptor.file);
        }
        if (descriptor.number != 0) {
            json.AddNumber("line", std::uint64_t{descriptor.number});
        }
        if (!descriptor.function.empty()) {
            json.Add("function", descriptor.function);
        }
        if (!(reader.GetRun() == run_) || runText_.empty()) {
            run_ = reader.GetRun();
            runText_.clear();
            AppendGuid(runText_, run_.bytes.data());
        }
        json.Add("run", runText_);
        json.Add("text", message);
        if (!descriptor.parameters.empty()) {
            json.AddParameters("parameters", descriptor, reader.GetValues(), clock_, zone);
        }
        json.EndObject();
        to += '\n';
    }

private:
    bool isUtc_;
    JsonText json_;
    Clock clock_;
    Guid run_;
    std::string runText_;
    std::string scratch_;
};

class CsvWriter : public LineWriter {
public:
    explicit CsvWriter(bool isUtc) : isUtc_(isUtc) {}

    void Begin(std::string& to) override
    {
        to += "time,level,category,thread,thread name,file,line,function,text\r\n";
    }
    void Write(std::string& to, const LineSource& source, std::string_view message) override
    {
        const LogReader& reader = source.GetReader();
        const Descriptor& descriptor = reader.GetDescriptor();
        clock_.AppendIsoTime(to, reader.GetMicroseconds(), isUtc_ ? 0 : reader.GetUtcOffset());
        AppendCell(to, GetLevelName(descriptor.level));
        AppendCell(to, GetCategory(descriptor));
        to += ',';
        AppendNumber(to, reader.GetThread());
        AppendCell(to, reader.GetThreadName(reader.GetThread()));
        AppendCell(to, descriptor.file);
        to += ',';
        AppendNumber(to, descriptor.number);
        AppendCell(to, descriptor.function);
        AppendCell(to, message);
        to += "\r\n";
    }

private:
    /// Behind a comma, in quotes where it needs them, always on one line.
    void AppendCell(std::string& to, std::string_view bytes)
    {
        to += ',';
        const std::size_t from = to.size();
        AppendVisible(to, bytes);
        const std::string_view cell = std::string_view(to).substr(from);
        if (cell.find_first_of(",\"") == std::string_view::npos && !cell.starts_with(' ') &&
            !cell.ends_with(' ')) {
            return;
        }
        scratch_ = cell;
        to.resize(from);
        to += '"';
        std::string_view rest = scratch_;
        for (std::size_t at; (at = rest.find('"')) != std::string_view::npos; rest.remove_prefix(at + 1)) {
            to.append(rest.substr(0, at)).append("\"\"");
        }
        to += rest;
        to += '"';
    }

    bool isUtc_;
    Clock clock_;
    std::string scratch_;
};

/// For the trace viewers of browsers: each line a moment on its thread.
class TraceWriter : public LineWriter {
public:
    void Begin(std::string& to) override { to += "{\"traceEvents\":[\n"; }
    void Write(std::string& to, const LineSource& source, std::string_view message) override
    {
        const LogReader& reader = source.GetReader();
        const Descriptor& descriptor = reader.GetDescriptor();
        NameThread(to, source);
        StartEvent(to);
        JsonText& json = json_;
        json.BeginObject(to);
        json.Add("name", message);
        json.Add("cat", GetCategory(descriptor));
        json.Add("ph", "i");
        json.Add("s", "t");
        json.AddNumber("ts", reader.GetMicroseconds());
        json.AddNumber("pid", std::uint64_t{GetProcess(source)});
        json.AddNumber("tid", reader.GetThread());
        json.BeginObject("args");
        json.Add("level", GetLevelName(descriptor.level));
        scratch_.clear();
        AppendSite(scratch_, descriptor);
        json.Add("site", scratch_);
        json.AddParameters("parameters", descriptor, reader.GetValues(), clock_, reader.GetUtcOffset());
        json.EndObject();
        json.EndObject();
    }
    void End(std::string& to) override { to += "\n],\"displayTimeUnit\":\"ms\"}\n"; }

private:
    /// Runs that do not say their process get numbers that no system gives away.
    static std::uint32_t GetProcess(const LineSource& source)
    {
        return source.GetProcess() != 0 ? source.GetProcess() : 0x80000000u + source.GetRun();
    }

    void StartEvent(std::string& to)
    {
        to += isFirst_ ? "" : ",\n";
        isFirst_ = false;
    }

    void NameThread(std::string& to, const LineSource& source)
    {
        const LogReader& reader = source.GetReader();
        const std::string& name = reader.GetThreadName(reader.GetThread());
        const std::uint64_t key = reader.GetThread() * 0x9E3779B97F4A7C15 + GetProcess(source);
        if (name.empty() || named_.size() > 16384 || !named_.insert(key).second) {
            return;
        }
        StartEvent(to);
        JsonText& json = json_;
        json.BeginObject(to);
        json.Add("name", "thread_name");
        json.Add("ph", "M");
        json.AddNumber("pid", std::uint64_t{GetProcess(source)});
        json.AddNumber("tid", reader.GetThread());
        json.BeginObject("args");
        json.Add("name", name);
        json.EndObject();
        json.EndObject();
    }

    bool isFirst_ = true;
    std::unordered_set<std::uint64_t> named_;
    JsonText json_;
    Clock clock_;
    std::string scratch_;
};

} // namespace

std::unique_ptr<LineWriter> MakeLineWriter(const Options& options)
{
    switch (options.form) {
    case Form::Json:
        return std::make_unique<JsonWriter>(options.isUtc);
    case Form::Csv:
        return std::make_unique<CsvWriter>(options.isUtc);
    case Form::Trace:
        return std::make_unique<TraceWriter>();
    default:
        return std::make_unique<TextWriter>(
            options, options.format.empty() ? "{time} {level:7} [{thread}] {category}: {text}  ({site})"
                                            : std::string_view(options.format));
    }
}

} // namespace QVLog
