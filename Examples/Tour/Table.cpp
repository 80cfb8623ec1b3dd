#include "Table.hpp"

#include <cstdio>
#include <string>

namespace Tour {

using namespace QV;

namespace {

/// A number with its digits in groups of three.
std::string Group(UInt64 number)
{
    const std::string digits = std::to_string(number);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i != 0 && (digits.size() - i) % 3 == 0) {
            text += ',';
        }
        text += digits[i];
    }
    return text;
}

std::string ToText(const UniString& text)
{
    return std::string(text.ToCStr(0, UniString::Npos, UTF8CharCode).GetText());
}

template <class Cell>
void PrintRow(const std::string& title, const std::string& threads, const std::string& allocations,
              const std::vector<BackEndRun>& runs, Cell cell)
{
    std::printf("%-18s %7s %11s", title.c_str(), threads.c_str(), allocations.c_str());
    for (const BackEndRun& run : runs) {
        std::printf(" %13s", std::string(cell(run)).c_str());
    }
    std::printf("\n");
}

std::string FormatSpeed(const Stage& stage)
{
    char text[40];
    std::snprintf(text, sizeof(text), "%.1f MB/s", stage.GetMegabytesPerSecond());
    return text;
}

} // namespace

void PrintTable(const std::vector<BackEndRun>& runs)
{
    const Measurements& first = runs.front().measurements;
    std::printf("\n%s files, %s bytes, %s characters in %s paragraphs; archive of %s bytes\n\n",
                Group(first.files).c_str(), Group(first.inputBytes).c_str(), Group(first.characters).c_str(),
                Group(first.paragraphs).c_str(), Group(first.archiveBytes).c_str());

    PrintRow("stage", "threads", "allocations", runs, [](const BackEndRun& run) { return run.name; });
    for (UInt32 i = 0; i < first.stages.GetCount(); ++i) {
        const Stage& stage = first.stages[i];
        PrintRow(ToText(stage.name), Group(stage.threads), Group(stage.allocations), runs,
                 [i](const BackEndRun& run) { return FormatSpeed(run.measurements.stages[i]); });
    }
    PrintRow("blocks in use", "", "", runs,
             [](const BackEndRun& run) { return Group(run.measurements.liveBlocks); });
    PrintRow("bytes in use", "", "", runs,
             [](const BackEndRun& run) { return Group(run.measurements.liveBytes); });
    PrintRow("most bytes in use", "", "", runs,
             [](const BackEndRun& run) { return Group(run.measurements.peakBytes); });

    const WordSummary& words = first.summary;
    std::printf("\n%s words, %s of them different, from \"%s\" to \"%s\"; most frequent: \"%s\", %s times\n",
                Group(words.words).c_str(), Group(words.distinct).c_str(), ToText(words.first).c_str(),
                ToText(words.last).c_str(), ToText(words.mostFrequent).c_str(),
                Group(words.occurrences).c_str());

    std::printf("\nversions of the document class\n");
    for (const VersionResult& version : first.versions) {
        std::printf("  %-34s %s\n", ToText(version.what).c_str(), ToText(version.outcome).c_str());
    }
    std::fflush(stdout);
}

} // namespace Tour
