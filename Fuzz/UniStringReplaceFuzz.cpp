// Splitting, counting, replacing and deleting over arbitrary text, against plain loops. The first three bytes
// tell how long the pattern and the replacement are and how many different units there are.

#include <QVRoot/Containers/Array.hpp>
#include <QVRoot/String/UniString.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

using namespace QV;

namespace {

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

std::vector<std::u16string> SplitPlainly(const std::u16string& text, const std::u16string& separator)
{
    std::vector<std::u16string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end + separator.size();
    }
    return parts;
}

std::u16string Join(const std::vector<std::u16string>& parts, const std::u16string& between)
{
    std::u16string text = parts.front();
    for (std::size_t i = 1; i < parts.size(); ++i) {
        text += between + parts[i];
    }
    return text;
}

void RequireSame(const Array<UniString>& parts, const std::vector<std::u16string>& expected)
{
    Require(parts.GetCount() == expected.size());
    for (UInt32 i = 0; i < parts.GetCount(); ++i) {
        Require(parts[i] == expected[i]);
    }
}

void CheckPattern(const UniString& text, const std::u16string& pattern, const std::u16string& replacement)
{
    const std::u16string units(text.GetView());
    const std::vector<std::u16string> expected = SplitPlainly(units, pattern);
    const std::size_t found = expected.size() - 1;
    const UniString separator(pattern);
    Array<UniString> parts;
    Require(text.Split(separator, &parts) == expected.size());
    RequireSame(parts, expected);
    Require(text.Count(separator) == found);
    Require(text.FindFirst(separator) == static_cast<unsigned int>(units.find(pattern)));
    Require(text.FindLast(separator) == static_cast<unsigned int>(units.rfind(pattern)));
    UniString changed = text;
    Require(changed.ReplaceAll(separator, UniString(replacement)) == found);
    Require(changed == Join(expected, replacement));
    changed = UniString(units);
    Require(changed.DeleteAll(separator) == found);
    Require(changed == Join(expected, u""));
}

void CheckSet(const UniString& text, const std::u16string& set)
{
    std::u16string units(text.GetView());
    for (char16_t& unit : units) {
        unit = set.find(unit) != std::u16string::npos ? set.front() : unit;
    }
    std::vector<std::u16string> expected = SplitPlainly(units, set.substr(0, 1));
    Array<UniString> parts;
    text.Split(UniString(set), UniString::KeepEmptyParts, &parts);
    RequireSame(parts, expected);
    std::erase(expected, u"");
    text.Split(UniString(set), UniString::DropEmptyParts, &parts);
    RequireSame(parts, expected);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3) {
        return 0;
    }
    const std::size_t widths[] = {1 + data[0] % std::size_t{64}, data[1] % std::size_t{16}};
    std::u16string units;
    for (std::size_t i = 3; i < size; ++i) {
        units += static_cast<char16_t>(u'a' + data[i] % (1 + data[2]));
    }
    const std::u16string pattern = units.substr(0, widths[0]);
    const std::u16string replacement = units.substr(pattern.size()).substr(0, widths[1]);
    const UniString text(units.substr(pattern.size() + replacement.size()));
    if (!pattern.empty()) {
        CheckPattern(text, pattern, replacement);
        CheckSet(text, pattern);
    }
    return 0;
}
