#include "Commands.hpp"
#include "System.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

using namespace QVLog;

constexpr const char* helpText = R"(qvlog - reads the binary event logs of QVRoot programs

Usage: qvlog show   [OPTION]... [FILE]...         prints lines, of several files in order of time
       qvlog stats  [FILE]...                     lines and bytes by call site, rates, compression
       qvlog report [OPTION]... -o PAGE [FILE]... a page: timeline, call sites, searchable table
       qvlog check  [FILE]...                     0 sound, 1 torn tail, 2 damaged inside, 3 no log

FILE may be left out or be "-" for the standard input.

Which lines (show, report):                     How (show):
  --since, --until TIME  from, before             --json         one object per line
  --level LEVEL          and above                --csv          one row per line
  --category NAME        and those within it      --trace        for trace viewers
  --thread NAME|ID                                --format TEXT  of {time} {date} {clock} {level}
  --site FILE[:LINE]|FUNCTION                       {category} {thread} {text} {site} {file} {line}
  --grep TEXT            in the message             {function} {process} {run}; {level:7} pads
  -i, --ignore-case      with --grep              --color auto|always|never   (NO_COLOR counts)
  TIME is 2025-11-21 or 2025-11-21T22:00:00       --utc          instead of the program's local time
  LEVEL is trace debug info warning error fatal   -f, --follow   as the log grows
The page (report):
  -o, --output PAGE      where to                 --title TEXT   instead of the first file's name
  -h, --help             this text

Examples:
  qvlog show --level warning --since 2025-11-21T08:00 editor.qvlog editor.1.qvlog
  qvlog show -f --category net --format "{clock} {text}" editor.qvlog
  qvlog show --json editor.qvlog | jq "select(.parameters.count > 100).text"
  qvlog report -o editor.html editor.qvlog
)";

int Fail(const std::string& text)
{
    std::fprintf(stderr, "qvlog: %s\nTry 'qvlog --help'.\n", text.c_str());
    return BadUsage;
}

struct CommandLine {
    CommandLine();

    /// The command that was named; null for none.
    auto GetCommand() const -> int (*)(const Options&)
    {
        return show->parsed()     ? Show
               : stats->parsed()  ? PrintStatistics
               : report->parsed() ? WriteReport
               : check->parsed()  ? Check
                                  : nullptr;
    }

    CLI::App app;
    CLI::App* show;
    CLI::App* stats;
    CLI::App* report;
    CLI::App* check;
    Options options;
    std::string level;
    std::string color = "auto";
    bool wantsHelp = false;
    bool json = false;
    bool csv = false;
    bool trace = false;

private:
    void AddFilter(CLI::App& command);
    void AddForms();
};

CommandLine::CommandLine()
    : show(app.add_subcommand("show")), stats(app.add_subcommand("stats")),
      report(app.add_subcommand("report")), check(app.add_subcommand("check"))
{
    app.set_help_flag();
    app.add_flag("-h,--help", wantsHelp);
    app.allow_windows_style_options(false);
    for (CLI::App* const command : {show, stats, report, check}) {
        command->set_help_flag();
        command->allow_windows_style_options(false); // "/" begins a path
        command->fallthrough();
        command->add_option("files", options.files);
    }
    AddFilter(*show);
    AddFilter(*report);
    AddForms();
    report->add_option("-o,--output", options.output);
    report->add_option("--title", options.title);
}

void CommandLine::AddFilter(CLI::App& command)
{
    Filter& filter = options.filter;
    command.add_option("--since", filter.since);
    command.add_option("--until", filter.until);
    command.add_option("--thread", filter.threads)->allow_extra_args(false);
    command.add_option("--site", filter.sites)->allow_extra_args(false);
    command.add_option("--category", filter.categories)->allow_extra_args(false);
    command.add_option("--level", level);
    command.add_option("--grep", filter.text);
    command.add_flag("-i,--ignore-case", filter.ignoresCase);
}

void CommandLine::AddForms()
{
    show->add_flag("--json", json);
    show->add_flag("--csv", csv);
    show->add_flag("--trace", trace);
    show->add_option("--format", options.format);
    show->add_option("--color", color);
    show->add_flag("--utc", options.isUtc);
    show->add_flag("-f,--follow", options.follows);
}

bool WantsColor(const std::string& color)
{
    const bool isTerminal = PrepareTerminal();
    const char* const no = std::getenv("NO_COLOR");
    return color == "always" || (color == "auto" && isTerminal && (no == nullptr || *no == '\0'));
}

/// What is wrong with it; empty: nothing.
std::string Complete(CommandLine& line)
{
    Options& options = line.options;
    if (!line.level.empty() && (options.filter.level = FindLevel(line.level)) <= Level::Data) {
        return "'" + line.level + "' is no level";
    }
    if (line.color != "auto" && line.color != "always" && line.color != "never") {
        return "--color takes auto, always or never";
    }
    if (line.json + line.csv + line.trace + !options.format.empty() > 1) {
        return "--json, --csv, --trace and --format exclude one another";
    }
    if (line.report->parsed() && options.output.empty()) {
        return "report needs -o PAGE";
    }
    options.form = line.json ? Form::Json : line.csv ? Form::Csv : line.trace ? Form::Trace : Form::Text;
    options.hasColor = line.show->parsed() && options.form == Form::Text && WantsColor(line.color);
    options.filter.isUtc = options.isUtc;
    if (options.files.empty()) {
        options.files.emplace_back("-");
    }
    return {};
}

int Run(std::vector<std::string> arguments)
{
    CommandLine line;
    try {
        std::reverse(arguments.begin(), arguments.end());
        line.app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return Fail(error.what());
    }
    if (line.wantsHelp) {
        return std::fputs(helpText, stdout) >= 0 && std::fflush(stdout) == 0 ? Sound : CannotWrite;
    }
    const auto command = line.GetCommand();
    if (command == nullptr) {
        return Fail("say show, stats, report or check");
    }
    const std::string fault = Complete(line);
    return fault.empty() ? command(line.options) : Fail(fault);
}

} // namespace

int main(int count, char** arguments)
{
    MakeOutputBinary();
    try {
        return Run(GetArguments(count, arguments));
    } catch (const std::invalid_argument& error) {
        return Fail(error.what());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvlog: %s\n", error.what());
        return CannotRead;
    }
}
