// Lists where the code pages of Windows differ from the mappings that ICU and the C library have, as the rows
// of the table in docs/code-pages.md and the codes behind them. On Linux, from the repository's root, with
// the library built:
//
//     g++ -std=c++20 -O2 -I. scripts/CompareCodePages.cpp -o build/CompareCodePages
//         -Lbuild/release/bin -lQVRoot -licuuc -Wl,-rpath,$PWD/build/release/bin
//     build/CompareCodePages
#include <QVRoot/String/CharCode.hpp>

#include <iconv.h>
#include <unicode/ucnv.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace {

/// What one or two bytes mean; -1 for nothing.
using Mapping = std::map<unsigned, int>;

std::string ToBytes(unsigned code)
{
    const char bytes[2] = {static_cast<char>(code >> 8), static_cast<char>(code)};
    return code > 0xFF ? std::string(bytes, 2) : std::string(bytes + 1, 1);
}

std::string ToHex(unsigned code)
{
    char text[16];
    std::snprintf(text, sizeof(text), code > 0xFF ? "%04X" : "%02X", code);
    return text;
}

/// The codes that can be characters, by what `decode(bytes)` answers: a unit or -1.
template <class Decode>
Mapping MakeMapping(bool hasPairs, Decode decode)
{
    Mapping mapping;
    for (unsigned code = 0; code < 0x100; ++code) {
        mapping[code] = decode(ToBytes(code));
    }
    for (unsigned code = 0x8140; hasPairs && code < 0xFF00; ++code) {
        const bool isPair = (code & 0xFF) >= 0x40 && mapping[code >> 8] < 0;
        if (isPair) {
            mapping[code] = decode(ToBytes(code));
        }
    }
    return mapping;
}

/// Without a code that stands for what is undefined, nothing tells that from a character: what does not come
/// back.
int DecodeAsWindows(const std::string& bytes, QV::QVCharCode code)
{
    unsigned short unit = 0;
    char back[4];
    const int length = static_cast<int>(bytes.size());
    if (QV::CHANSI2Unicode(bytes.data(), length, &unit, 1, code) != 1) {
        return -1;
    }
    const int size = QV::CHUnicode2ANSI(&unit, 1, back, 4, code, false);
    const bool stands = unit == '?' || unit == 0x30FB;
    const bool isOwn = !stands || std::string(back, static_cast<size_t>(size)) == bytes;
    return size != 0 && isOwn ? unit : -1;
}

unsigned ToCode(const char* bytes, size_t count)
{
    const unsigned first = static_cast<unsigned char>(bytes[0]);
    return count == 1 ? first : count == 2 ? first << 8 | static_cast<unsigned char>(bytes[1]) : 0;
}

unsigned EncodeAsWindows(unsigned short unit, QV::QVCharCode code)
{
    char bytes[4];
    return ToCode(bytes, static_cast<size_t>(QV::CHUnicode2ANSI(&unit, 1, bytes, 4, code, false)));
}

unsigned EncodeByIcu(char16_t unit, UConverter* converter)
{
    char bytes[8];
    UErrorCode error = U_ZERO_ERROR;
    ucnv_resetFromUnicode(converter);
    const int count = ucnv_fromUChars(converter, bytes, 8, &unit, 1, &error);
    return U_SUCCESS(error) ? ToCode(bytes, static_cast<size_t>(count)) : 0;
}

unsigned EncodeByIconv(char16_t unit, iconv_t converter)
{
    char bytes[8];
    char* input = reinterpret_cast<char*>(&unit);
    char* output = bytes;
    size_t inputLeft = 2;
    size_t outputLeft = sizeof(bytes);
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    return iconv(converter, &input, &inputLeft, &output, &outputLeft) == 0 ? ToCode(bytes, 8 - outputLeft)
                                                                           : 0;
}

/// Units that both encode, to different codes.
template <class Encode>
std::vector<std::string> CompareEncoding(QV::QVCharCode code, Encode encode)
{
    std::vector<std::string> different;
    for (unsigned unit = 1; unit < 0x10000; ++unit) {
        const unsigned ours = EncodeAsWindows(static_cast<unsigned short>(unit), code);
        const unsigned theirs = encode(static_cast<char16_t>(unit));
        if (ours != 0 && theirs != 0 && ours != theirs) {
            char text[40];
            std::snprintf(text, sizeof(text), "U+%04X=%s/%s", unit, ToHex(ours).c_str(),
                          ToHex(theirs).c_str());
            different.push_back(text);
        }
    }
    return different;
}

int DecodeByIcu(const std::string& bytes, UConverter* converter)
{
    UChar units[4];
    UErrorCode error = U_ZERO_ERROR;
    ucnv_resetToUnicode(converter);
    const int count =
        ucnv_toUChars(converter, units, 4, bytes.data(), static_cast<int>(bytes.size()), &error);
    return U_SUCCESS(error) && count == 1 ? units[0] : -1;
}

int DecodeByIconv(std::string bytes, iconv_t converter)
{
    char16_t units[4];
    char* input = bytes.data();
    char* output = reinterpret_cast<char*>(units);
    size_t inputLeft = bytes.size();
    size_t outputLeft = sizeof(units);
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    const size_t result = iconv(converter, &input, &inputLeft, &output, &outputLeft);
    return result == 0 && inputLeft == 0 && outputLeft == sizeof(units) - 2 ? units[0] : -1;
}

/// Codes in a row are told as a range.
void PrintCodes(const char* title, const std::vector<std::string>& codes)
{
    if (codes.empty()) {
        return;
    }
    std::printf("      %s:", title);
    for (size_t i = 0; i < codes.size() && i < 40; ++i) {
        std::printf(" %s", codes[i].c_str());
    }
    std::printf(codes.size() > 40 ? " …\n" : "\n");
}

void AddCode(std::vector<std::string>& codes, unsigned& last, unsigned code)
{
    if (!codes.empty() && code == last + 1) {
        codes.back() = codes.back().substr(0, codes.back().find('-')) + '-' + ToHex(code);
    } else {
        codes.push_back(ToHex(code));
    }
    last = code;
}

void Compare(unsigned page, const char* peer, const Mapping& ours, const Mapping& theirs,
             const std::vector<std::string>& encodings)
{
    std::vector<std::string> different;
    std::vector<std::string> oursOnly;
    std::vector<std::string> theirsOnly;
    unsigned counts[3] = {};
    unsigned lastOurs = 0;
    unsigned lastTheirs = 0;
    for (const auto& [code, unit] : ours) {
        const auto found = theirs.find(code);
        const int other = found == theirs.end() ? -1 : found->second;
        if (unit >= 0 && other >= 0 && unit != other) {
            ++counts[0];
            char text[40];
            std::snprintf(text, sizeof(text), "%s=%04X/%04X", ToHex(code).c_str(), unit, other);
            different.push_back(text);
        } else if (unit >= 0 && other < 0) {
            ++counts[1];
            AddCode(oursOnly, lastOurs, code);
        } else if (unit < 0 && other >= 0) {
            ++counts[2];
            AddCode(theirsOnly, lastTheirs, code);
        }
    }
    std::printf("| %u | %s | %u | %u | %u | %zu |\n", page, peer, counts[0], counts[1], counts[2],
                encodings.size());
    PrintCodes("differ", different);
    PrintCodes("Windows only", oursOnly);
    PrintCodes("peer only", theirsOnly);
    PrintCodes("encode differently", encodings);
}

struct Page {
    unsigned page;
    const char* icu;
};

const Page pages[] = {
    {1250, "windows-1250"},     {1251, "windows-1251"},    {1252, "windows-1252"},
    {1253, "windows-1253"},     {1254, "windows-1254"},    {1255, "windows-1255"},
    {1256, "windows-1256"},     {1257, "windows-1257"},    {874, "windows-874-2000"},
    {932, "ibm-943_P15A-2003"}, {936, "windows-936-2000"}, {949, "windows-949-2000"},
    {950, "windows-950-2000"},
};

} // namespace

int main()
{
    for (const Page& page : pages) {
        const QV::QVCharCode code = QV::CHGetCharCode(page.page);
        const bool hasPairs = page.page < 1000 && page.page != 874;
        const Mapping ours =
            MakeMapping(hasPairs, [code](const std::string& bytes) { return DecodeAsWindows(bytes, code); });
        UErrorCode error = U_ZERO_ERROR;
        UConverter* const converter = ucnv_open(page.icu, &error);
        ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
        Compare(page.page, page.icu, ours,
                MakeMapping(hasPairs,
                            [converter](const std::string& bytes) { return DecodeByIcu(bytes, converter); }),
                CompareEncoding(code, [converter](char16_t unit) { return EncodeByIcu(unit, converter); }));
        const std::string name = "CP" + std::to_string(page.page);
        const iconv_t decoder = iconv_open("UTF-16LE", name.c_str());
        const iconv_t encoder = iconv_open(name.c_str(), "UTF-16LE");
        Compare(page.page, ("iconv " + name).c_str(), ours,
                MakeMapping(hasPairs,
                            [decoder](const std::string& bytes) { return DecodeByIconv(bytes, decoder); }),
                CompareEncoding(code, [encoder](char16_t unit) { return EncodeByIconv(unit, encoder); }));
        ucnv_close(converter);
        iconv_close(decoder);
        iconv_close(encoder);
    }
    return 0;
}
