// Arbitrary formats for printing and scanning with arguments of every kind, checked in advance and not; the
// first line of the input is the format, the rest the text to scan. Numbers at its beginning are read as the
// C library reads them.

#include <QVRoot/Exceptions/GeneralExceptions.hpp>
#include <QVRoot/String/NumberText.hpp>
#include <QVRoot/String/String.hpp>
#include <QVRoot/String/UniStringFormat.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace QV;

namespace {

constexpr UInt32 quietFlags[] = {FormatCStrReturnOnMismatch,
                                 FormatCStrReturnOnMismatch | FormatCStrCheckedBefore};

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

template <class... Arguments>
void PrintWith(const std::string& format, const Arguments&... arguments)
{
    const FormatArgument list[] = {arguments...};
    const std::u16string wide(format.begin(), format.end());
    const auto* const units = reinterpret_cast<const unsigned short*>(wide.c_str());
    for (const UInt32 flags : quietFlags) {
        for (const USize size : {USize{1}, USize{7}, USize{300}}) {
            char text[300];
            const int count = checkedvsnprintf(text, size, format.c_str(), {list, sizeof...(Arguments)},
                                               static_cast<FormatCStrCheckFlags>(flags));
            Require(count < static_cast<int>(size) && (count < 0 || text[count] == '\0'));
            unsigned short wideText[300];
            const int wideCount = checkedvsnprintf(wideText, size, units, {list, sizeof...(Arguments)},
                                                   static_cast<FormatUStrCheckFlags>(flags));
            Require(wideCount < static_cast<int>(size) && (wideCount < 0 || wideText[wideCount] == 0));
            Require((count < 0) == (wideCount < 0));
        }
    }
}

template <class... Arguments>
void ScanWith(const std::string& format, const std::string& text, Arguments&&... arguments)
{
    const ScanArgument list[] = {arguments...};
    for (const UInt32 flags : quietFlags) {
        const int count = checkedvsscanf(text.c_str(), format.c_str(), {list, sizeof...(Arguments)},
                                         static_cast<FormatCStrCheckFlags>(flags));
        Require(count <= static_cast<int>(sizeof...(Arguments)));
    }
}

void ReadNumber(const std::string& text)
{
    char* end = nullptr;
    const double expected = std::strtod(text.c_str(), &end);
    double value = 7;
    const bool isNumber = strtovalue(text.c_str(), value, ToValueBeginning);
    Require(isNumber == (end != text.c_str()));
    Require(!isNumber || std::isnan(expected) || std::memcmp(&value, &expected, sizeof(value)) == 0);
    Int64 integer = 7;
    const long long expectedInteger = std::strtoll(text.c_str(), &end, 10);
    Require(strtovalue(text.c_str(), integer, ToValueBeginning) == (end != text.c_str()));
    Require(end == text.c_str() || integer == expectedInteger);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t line = std::min(input.find('\n'), input.size());
    const std::string format = input.substr(0, line);
    const std::string text = input.substr(std::min(line + 1, input.size()));
    ReadNumber(text.c_str());

    PrintWith(format, 42);
    PrintWith(format, -5l, 3u);
    PrintWith(format, 1.5, "text");
    PrintWith(format, ~0ull, UniString(u"gr\u00FC\U0001F600"), u"\u20AC\xD800");
    PrintWith(format, 5, -7, 1e300, 'c');

    int number = 0;
    double real = 0;
    char word[5];
    UniString units;
    String bytes;
    ScanWith(format, text, &number);
    ScanWith(format, text, &real, word);
    ScanWith(format, text, &units, &bytes, &number);
    ScanWith(format, text, word, word, word);
    return 0;
}
