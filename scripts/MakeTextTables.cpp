// Writes the tables with which the Linux target gives the answers of Windows: code pages, case and width.
// It asks the system for every answer, so it is a Windows program; from the repository's root:
//
//     x86_64-w64-mingw32-g++-posix -std=c++20 -O2 -static scripts/MakeTextTables.cpp -o
//     build/MakeTextTables.exe cmake/wine-run.sh build/MakeTextTables.exe QVRoot/String
//
// The three files that it writes into the given folder are checked in.
#include <windows.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace {

using Unit = unsigned short;

[[noreturn]] void Fail(const char* what, unsigned value)
{
    std::fprintf(stderr, "MakeTextTables: %s (%#x)\n", what, value);
    std::exit(1);
}

class Output {
public:
    explicit Output(const std::string& path) : file_(std::fopen(path.c_str(), "wb"))
    {
        if (file_ == nullptr) {
            Fail("cannot write", 0);
        }
        Print("// Made by scripts/MakeTextTables.cpp; do not edit.\n// clang-format off\n");
    }
    ~Output() { std::fclose(file_); }

    void Print(const char* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        std::vfprintf(file_, format, arguments);
        va_end(arguments);
    }

    /// An array of numbers, several to the line.
    void PrintArray(const char* head, const std::vector<unsigned long>& values, int digits)
    {
        Print("\n%s = {", head);
        const size_t perLine = 106 / (digits + 4);
        for (size_t i = 0; i < values.size(); ++i) {
            Print(i % perLine == 0 ? "\n    0x%0*lX," : " 0x%0*lX,", digits, values[i]);
        }
        Print("\n};\n");
    }

private:
    FILE* file_;
};

const int SingleBytePages[] = {1250, 1251, 1252, 1253, 1254, 1255, 1256, 1257, 874};
const int DoubleBytePages[] = {932, 936, 949, 950};

/// The unit that a text of one or two bytes decodes to; it must be exactly one.
Unit Decode(int page, unsigned bytes)
{
    const char text[2] = {static_cast<char>(bytes > 0xFF ? bytes >> 8 : bytes), static_cast<char>(bytes)};
    wchar_t units[4];
    if (MultiByteToWideChar(page, 0, text, bytes > 0xFF ? 2 : 1, units, 4) != 1) {
        Fail("not one unit", bytes);
    }
    return units[0];
}

/// The bytes that a unit encodes to, as a number, with best fits; -1 for the default character.
int Encode(int page, Unit unit, DWORD flags = 0)
{
    const wchar_t text = unit;
    unsigned char bytes[4];
    BOOL usedDefault = FALSE;
    const int count =
        WideCharToMultiByte(page, flags, &text, 1, reinterpret_cast<char*>(bytes), 4, nullptr, &usedDefault);
    if (count != 1 && count != 2) {
        Fail("neither one byte nor two", unit);
    }
    if (usedDefault && (count != 1 || bytes[0] != '?')) {
        Fail("unexpected default character", unit);
    }
    return usedDefault ? -1 : count == 1 ? bytes[0] : bytes[0] << 8 | bytes[1];
}

/// Everything that a page encodes other than by turning its decoding around: best fits and, where several
/// codes decode to one unit, the preferred code when it is not the first. Checks on the way what the library
/// relies on: without best fits exactly those units pass whose code decodes to them.
std::map<Unit, int> FindBestFits(int page, const std::map<Unit, int>& inverse)
{
    std::map<Unit, int> fits;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const int code = Encode(page, unit);
        const bool exact = code >= 0 && Decode(page, code) == unit;
        if (Encode(page, unit, WC_NO_BEST_FIT_CHARS) != (exact ? code : -1)) {
            Fail("best-fit rule does not hold", unit);
        }
        const auto found = inverse.find(unit);
        if (found != inverse.end() && code < 0) {
            Fail("decoded but not encoded", unit);
        }
        if (code >= 0 && (found == inverse.end() || found->second != code)) {
            fits[unit] = code;
        }
    }
    return fits;
}

std::map<Unit, int> InvertSingleBytes(int page)
{
    std::map<Unit, int> inverse;
    for (int byte = 0; byte < 0x100; ++byte) {
        if (!IsDBCSLeadByteEx(page, byte)) {
            inverse.emplace(Decode(page, byte), byte);
        }
        if (byte < 0x80 && Decode(page, byte) != byte) {
            Fail("not an extension of ASCII", byte);
        }
    }
    return inverse;
}

std::map<Unit, int> InvertPage(int page)
{
    std::map<Unit, int> inverse = InvertSingleBytes(page);
    const Unit undefined = Decode(page, 0x8120);
    for (int code = 0x8101; code < 0xFF00; ++code) {
        if (IsDBCSLeadByteEx(page, code >> 8) && (code & 0xFF) != 0 && Decode(page, code) != undefined) {
            inverse.emplace(Decode(page, code), code);
        }
    }
    return inverse;
}

std::vector<unsigned long> Pack(const std::map<Unit, int>& fits, int bits,
                                const std::map<Unit, int>& leaveOut)
{
    std::vector<unsigned long> packed;
    for (const auto& [unit, code] : fits) {
        if (!leaveOut.contains(unit)) {
            packed.push_back(static_cast<unsigned long>(unit) << bits | static_cast<unsigned>(code));
        }
    }
    return packed;
}

/// The fits that all single-byte pages share.
std::map<Unit, int> FindCommon(const std::map<int, std::map<Unit, int>>& fitsOfPage)
{
    std::map<Unit, int> common = fitsOfPage.begin()->second;
    for (const auto& [page, fits] : fitsOfPage) {
        std::erase_if(common, [&fits = fits](const auto& fit) {
            const auto found = fits.find(fit.first);
            return found == fits.end() || found->second != fit.second;
        });
    }
    return common;
}

void WriteSingleByteTables(const std::string& folder)
{
    Output out(folder + "/SingleByteTables.cpp");
    out.Print("#include <QVRoot/String/CodePageTablesImpl.hpp>\n\nnamespace QV::Impl {\n");
    out.Print("\n// The unit of each byte.\n");
    for (const int page : SingleBytePages) {
        std::vector<unsigned long> units;
        for (int byte = 0; byte < 0x100; ++byte) {
            units.push_back(Decode(page, byte));
        }
        out.PrintArray(("const UInt16 SingleBytePage" + std::to_string(page) + "[256]").c_str(), units, 4);
    }
    out.Print("\n} // namespace QV::Impl\n");
}

/// The tables of the pages, and the function that finds them.
class FitWriter {
public:
    explicit FitWriter(Output& out) : out_(out) {}

    void Write(int page, const std::vector<unsigned long>& packed, int digits)
    {
        if (!packed.empty()) {
            const std::string name = "Fits" + std::to_string(page);
            out_.PrintArray(("constexpr UInt32 " + name + "[]").c_str(), packed, digits);
            cases_ += "    case " + std::to_string(page) + ":\n        return " + name + ";\n";
        }
    }

    void WriteFunction()
    {
        out_.Print("\nstd::span<const UInt32> GetBestFits(UInt32 page) noexcept\n{\n    switch (page) {\n%s"
                   "    }\n    return {};\n}\n",
                   cases_.c_str());
    }

private:
    Output& out_;
    std::string cases_;
};

void WriteBestFits(const std::string& folder)
{
    Output out(folder + "/CodePageBestFitPosix.cpp");
    FitWriter writer(out);
    out.Print("#include <QVRoot/String/CodePageTablesImpl.hpp>\n\nnamespace QV::Impl {\n\nnamespace {\n");
    std::map<int, std::map<Unit, int>> fitsOfPage;
    for (const int page : SingleBytePages) {
        fitsOfPage[page] = FindBestFits(page, InvertSingleBytes(page));
    }
    const std::map<Unit, int> common = FindCommon(fitsOfPage);
    out.PrintArray("constexpr UInt32 SharedFits[]", Pack(common, 8, {}), 6);
    for (const int page : SingleBytePages) {
        writer.Write(page, Pack(fitsOfPage[page], 8, common), 6);
    }
    for (const int page : DoubleBytePages) {
        writer.Write(page, Pack(FindBestFits(page, InvertPage(page)), 16, {}), 8);
    }
    out.Print("\n} // namespace\n\nstd::span<const UInt32> GetSharedBestFits() noexcept\n"
              "{\n    return SharedFits;\n}\n");
    writer.WriteFunction();
    out.Print("\n} // namespace QV::Impl\n");
}

/// A character's mapping by the given flag; the character itself when the result is not one character.
unsigned Map(DWORD flag, unsigned c)
{
    const wchar_t text[2] = {static_cast<wchar_t>(c > 0xFFFF ? 0xD7C0 + (c >> 10) : c),
                             static_cast<wchar_t>(0xDC00 + (c & 0x3FF))};
    const int length = c > 0xFFFF ? 2 : 1;
    wchar_t mapped[8];
    if (LCMapStringW(GetUserDefaultLCID(), flag, text, length, mapped, 8) != length) {
        return c;
    }
    return length == 1 ? mapped[0] : ((mapped[0] - 0xD7C0) << 10) + (mapped[1] - 0xDC00);
}

struct Range {
    unsigned first;
    unsigned last;
    unsigned stride;
    unsigned target;
};

/// The mapping as ranges: every `stride`-th character moves by the same distance.
std::vector<Range> FindRanges(DWORD flag, unsigned end)
{
    std::vector<Range> ranges;
    for (unsigned c = 0; c < end; ++c) {
        const unsigned mapped = Map(flag, c);
        if (mapped == c) {
            continue;
        }
        if (!ranges.empty()) {
            Range& range = ranges.back();
            const unsigned step = c - range.last;
            const bool single = range.first == range.last;
            if (mapped - c == range.target - range.first && (single ? step <= 2 : step == range.stride)) {
                range.stride = step;
                range.last = c;
                continue;
            }
        }
        ranges.push_back({c, c, 1, mapped});
    }
    return ranges;
}

void PrintRanges(Output& out, const char* name, const std::vector<Range>& ranges)
{
    out.Print("\ninline constexpr MappedRange %s[] = {", name);
    int column = 0;
    for (const Range& range : ranges) {
        const bool wide = range.last > 0xFFFF || range.target > 0xFFFF;
        out.Print("%s{0x%04X, 0x%04X, %u, 0x%04X},", column == 0 ? "\n    " : " ", range.first, range.last,
                  range.stride, range.target);
        column = (column + 1) % (wide ? 2 : 3);
    }
    out.Print("\n};\n");
}

/// Upper to lower case; the way back must be its exact inverse.
void WriteCaseRanges(Output& out)
{
    for (unsigned c = 0; c < 0x110000; ++c) {
        const unsigned lower = Map(LCMAP_LOWERCASE, c);
        const unsigned upper = Map(LCMAP_UPPERCASE, c);
        if ((lower != c && Map(LCMAP_UPPERCASE, lower) != c) ||
            (upper != c && Map(LCMAP_LOWERCASE, upper) != c)) {
            Fail("case mapping without a way back", c);
        }
    }
    std::vector<Range> ranges = FindRanges(LCMAP_LOWERCASE, 0x110000);
    std::vector<Range> units;
    std::vector<Range> pairs;
    for (const Range& range : ranges) {
        (range.first > 0xFFFF ? pairs : units).push_back(range);
    }
    out.Print("\n/// From upper to lower case; the way back is the exact inverse.");
    PrintRanges(out, "LowerCaseRanges", units);
    out.Print("\n/// The same for characters of two units.");
    PrintRanges(out, "LowerCasePairRanges", pairs);
}

/// Katakana with a sound mark: one unit in full width, two in half width.
void WriteVoicedKana(Output& out)
{
    out.Print("\ninline constexpr VoicedKana VoicedKanas[] = {");
    int column = 0;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const wchar_t text = static_cast<wchar_t>(unit);
        wchar_t parts[8];
        wchar_t whole[8];
        const LCID locale = GetUserDefaultLCID();
        const int length = LCMapStringW(locale, LCMAP_HALFWIDTH, &text, 1, parts, 8);
        if (length == 1) {
            continue;
        }
        if (length != 2 || LCMapStringW(locale, LCMAP_FULLWIDTH, parts, 2, whole, 8) != 1 ||
            whole[0] != text) {
            Fail("unexpected half-width form", unit);
        }
        out.Print("%s{0x%04X, 0x%04X, 0x%04X},", column == 0 ? "\n    " : " ", unit, parts[0], parts[1]);
        column = (column + 1) % 4;
    }
    out.Print("\n};\n");
}

void WriteMappings(const std::string& folder)
{
    Output out(folder + "/TextMappingTablesImpl.hpp");
    out.Print(
        "#pragma once\n\n#include <QVRoot/BasicEnvironment/BaseTypes.h>\n\nnamespace QV::Impl {\n\n"
        "/// Every `stride`-th character from `first` to `last` moves by `target - first`.\n"
        "struct MappedRange {\n    UInt32 first;\n    UInt32 last;\n    UInt32 stride;\n    UInt32 target;\n"
        "};\n\n"
        "/// A full-width character whose half-width form is a base and a sound mark.\n"
        "struct VoicedKana {\n    UInt16 whole;\n    UInt16 base;\n    UInt16 mark;\n};\n");
    WriteCaseRanges(out);
    PrintRanges(out, "HalfWidthRanges", FindRanges(LCMAP_HALFWIDTH, 0x10000));
    PrintRanges(out, "FullWidthRanges", FindRanges(LCMAP_FULLWIDTH, 0x10000));
    WriteVoicedKana(out);
    out.Print("\n} // namespace QV::Impl\n");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        Fail("usage: MakeTextTables <folder>", 0);
    }
    WriteSingleByteTables(argv[1]);
    WriteBestFits(argv[1]);
    WriteMappings(argv[1]);
    return 0;
}
