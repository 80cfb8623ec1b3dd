#include "Options.hpp"

namespace Tour {

using namespace QV;

const char* const usageText =
    "Tour [OPTION | FILE | FOLDER]...\n"
    "Packs text files into an archive of persistent objects, reads it back, and compares the library's "
    "memory\n"
    "back ends. Without files it takes its own samples and the source tree.\n"
    "  --code-page N     the code page of the files that follow and have no byte-order mark; 65001 is "
    "UTF-8.\n"
    "                    A name such as notes.cp1252.txt says it for itself.\n"
    "  --archive FILE    keep the archive\n"
    "  --verify ARCHIVE  only read an archive and say what is in it\n"
    "  --passes N        run each stage N times and take the fastest (5)\n"
    "  --threads N       read, decode and save on N threads (as many as the machine has)\n"
    "  --log FOLDER      log the run to files there, to be read by qvlog\n"
    "  --here            measure this process alone, with the back end that it has\n"
    "  --results FILE    with --here: leave the measurements in a file\n"
    "Exit codes: 0 success, 1 an input or output that failed, 2 a wrong command line, 3 anything else,\n"
    "130 interrupted.\n";

namespace {

[[noreturn]] void Refuse(const char* what, const UniString& argument)
{
    UniString line(what);
    line += ": ";
    line += argument;
    throw UsageError{line};
}

UInt32 ParseNumber(const UniString& text)
{
    UInt64 number = 0;
    for (const char16_t unit : text.GetView()) {
        if (unit < u'0' || unit > u'9' || number > 99999) {
            Refuse("not a number that fits here", text);
        }
        number = number * 10 + (unit - u'0');
    }
    return static_cast<UInt32>(number);
}

QVCharCode ParseCodePage(const UniString& text)
{
    const QVCharCode code = CHGetCharCode(ParseNumber(text));
    if (code == SystemCharCode) {
        Refuse("unknown code page", text);
    }
    return code;
}

} // namespace

Options ParseOptions(const Array<UniString>& arguments)
{
    Options options;
    QVCharCode code = UTF8CharCode;
    for (UInt32 i = 0; i < arguments.GetCount(); ++i) {
        const std::u16string_view name = arguments[i].GetView();
        const auto value = [&]() -> const UniString& {
            if (i + 1 == arguments.GetCount()) {
                Refuse("a value is missing behind", arguments[i]);
            }
            return arguments[++i];
        };
        if (name == u"--help") {
            options.help = true;
        } else if (name == u"--here") {
            options.here = true;
        } else if (name == u"--code-page") {
            code = ParseCodePage(value());
        } else if (name == u"--passes") {
            options.passes = ParseNumber(value());
        } else if (name == u"--threads") {
            options.threads = ParseNumber(value());
        } else if (name == u"--archive") {
            options.archive = value();
        } else if (name == u"--verify") {
            options.verify = value();
        } else if (name == u"--log") {
            options.log = value();
        } else if (name == u"--results") {
            options.results = value();
        } else if (name.empty() || name.starts_with(u"--")) {
            Refuse("unknown argument", arguments[i]);
        } else {
            options.inputs.Append(Input{arguments[i], code});
        }
    }
    if (options.passes == 0) {
        Refuse("at least one pass is needed", "--passes");
    }
    if (options.threads == 0) {
        Refuse("at least one thread is needed", "--threads");
    }
    return options;
}

} // namespace Tour
