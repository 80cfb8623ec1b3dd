#include "Commands.hpp"

#include "LogFile.hpp"

#include <CLI/CLI.hpp>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace {

using namespace QVLog;

constexpr const char* helpText = R"(qvlog - reads the binary event logs of QVRoot programs

Usage: qvlog show   [OPTIONS] [FILE...]   prints lines, those of several files in the order of time
       qvlog stats  [FILE...]             lines and bytes by call site, rates, compression
       qvlog report -o PAGE.html FILE...  one page for the browser: timeline, call sites, searchable table
       qvlog check  [FILE...]             exit status 0 sound, 1 torn tail, 2 damaged inside, 3 no log

FILE may be left out or be "-" for the standard input.

Which lines (show, report):                   How (show):
  --since, --until TIME  from, before           --json       one object per line
  --level LEVEL          and above              --csv        one row per line
  --category NAME        and those within it    --trace      for trace viewers
  --thread NAME|ID                              --format TEXT  of {time} {date} {clock} {level}
  --site FILE[:LINE]|FUNCTION                       {category} {thread} {text} {site} {file} {line}
  --grep TEXT            in the message             {function} {process} {run}; {level:7} pads
  -i, --ignore-case      with --grep            --color auto|always|never (NO_COLOR counts)
  TIME is 2025-11-21 or 2025-11-21T22:00:00     --utc        instead of the program's local time
  LEVEL is trace debug info warning error fatal -f, --follow as the log grows

Examples:
  qvlog show --level warning --since 2025-11-21T08:00 editor.qvlog editor.1.qvlog
  qvlog show -f --category net --format "{clock} {text}" editor.qvlog
  qvlog show --json editor.qvlog | jq 'select(.parameters.count > 100).text'
  qvlog report -o editor.html editor.qvlog
)";

bool WantsColor(const std::string& color)
{
    const bool isTerminal = PrepareTerminal();
    const char* const no = std::getenv("NO_COLOR");
    return color == "always" || (color == "auto" && isTerminal && (no == nullptr || *no == '\0'));
}

void AddFiles(CLI::App& command, Options& options)
{
    command.add_option("files", options.files);
}

void AddFilter(CLI::App& command, Filter& filter, std::string& level)
{
    command.add_option("--since", filter.since);
    command.add_option("--until", filter.until);
    command.add_option("--thread", filter.threads)->expected(1)->allow_extra_args(false);
    command.add_option("--site", filter.sites)->expected(1)->allow_extra_args(false);
    command.add_option("--category", filter.categories)->expected(1)->allow_extra_args(false);
    command.add_option("--level", level);
    command.add_option("--grep", filter.text);
    command.add_flag("-i,--ignore-case", filter.ignoresCase);
}

int Fail(const std::string& text)
{
    std::fprintf(stderr, "qvlog: %s\nTry 'qvlog --help'.\n", text.c_str());
    return BadUsage;
}

struct Form_ {
    bool json = false, csv = false, trace = false;
};

int Run(int count, char** arguments)
{
    CLI::App app;
    app.set_help_flag();
    bool wantsHelp = false;
    app.add_flag("-h,--help", wantsHelp);
    app.fallthrough();
    Options options;
    std::string level;
    std::string color = "auto";
    Form_ form;
    CLI::App* const show = app.add_subcommand("show");
    CLI::App* const stats = app.add_subcommand("stats");
    CLI::App* const report = app.add_subcommand("report");
    CLI::App* const check = app.add_subcommand("check");
    for (CLI::App* const command : {show, stats, report, check}) {
        command->set_help_flag();
        AddFiles(*command, options);
    }
    AddFilter(*show, options.filter, level);
    AddFilter(*report, options.filter, level);
    show->add_flag("--json", form.json);
    show->add_flag("--csv", form.csv);
    show->add_flag("--trace", form.trace);
    show->add_option("--format", options.format);
    show->add_option("--color", color);
    show->add_flag("--utc", options.isUtc);
    show->add_flag("-f,--follow", options.follows);
    report->add_option("-o,--output", options.output);
    report->add_option("--title", options.title);
    try {
        app.parse(count, arguments);
    } catch (const CLI::ParseError& error) {
        return Fail(error.what());
    }
    if (wantsHelp) {
        std::fputs(helpText, stdout);
        return Sound;
    }
    if (!level.empty() && (options.filter.level = FindLevel(level)) <= Level::Data) {
        return Fail("'" + level + "' is no level");
    }
    if (color != "auto" && color != "always" && color != "never") {
        return Fail("--color takes auto, always or never");
    }
    if (form.json + form.csv + form.trace + !options.format.empty() > 1) {
        return Fail("--json, --csv, --trace and --format exclude one another");
    }
    options.form = form.json ? Form::Json : form.csv ? Form::Csv : form.trace ? Form::Trace : Form::Text;
    options.hasColor = show->parsed() && options.form == Form::Text && WantsColor(color);
    if (options.files.empty()) {
        options.files.emplace_back("-");
    }
    if (show->parsed()) {
        return Show(options);
    }
    if (stats->parsed()) {
        return PrintStatistics(options);
    }
    if (report->parsed()) {
        return options.output.empty() ? Fail("report needs -o PAGE.html") : WriteReport(options);
    }
    return check->parsed() ? Check(options) : Fail("say show, stats, report or check");
}

} // namespace

int main(int count, char** arguments)
{
    MakeOutputBinary();
    try {
        return Run(count, arguments);
    } catch (const std::invalid_argument& error) {
        return Fail(error.what());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvlog: %s\n", error.what());
        return CannotRead;
    }
}
