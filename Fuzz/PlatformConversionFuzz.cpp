// Line ends and character sets, the public functions against a plain rendering of what they promise. The
// first byte of the input chooses the line end and the room, the second the code page, the third the two
// signs.
#include <QVRoot/Channel/PlatformConversion.hpp>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

using namespace QV;

namespace {

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// A block of exactly the size needed, so that the address sanitizer sees every step outside.
std::unique_ptr<char[]> CopyOf(const std::string& bytes)
{
    std::unique_ptr<char[]> copy(new char[bytes.size()]);
    bytes.copy(copy.get(), bytes.size());
    return copy;
}

std::string Rewrite(const std::string& text, EOLType eol)
{
    const char* const lineEnds[] = {"\r", "\n", "\r\n"};
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' || text[i] == '\n') {
            i += text.compare(i, 2, "\r\n") == 0;
            result += lineEnds[eol];
        } else {
            result += text[i];
        }
    }
    return result;
}

void RewriteLineEnds(const std::string& text, EOLType eol, std::size_t less)
{
    const std::unique_ptr<char[]> source = CopyOf(text);
    const std::string expected = Rewrite(text, eol);
    const int length = static_cast<int>(text.size());
    const int size = static_cast<int>(expected.size());
    Require(IVEndofLine(source.get(), length, nullptr, 0, eol) == size);
    if (less < expected.size()) {
        const int room = size - static_cast<int>(less);
        const std::unique_ptr<char[]> target(new char[static_cast<std::size_t>(room)]);
        Require(IVEndofLine(source.get(), length, target.get(), room, eol) == (less == 0 ? size : 0));
        Require(less != 0 || expected.compare(0, expected.npos, target.get(), expected.size()) == 0);
    }
    const std::unique_ptr<char[]> terminated = CopyOf(text + '\0');
    const std::string front = text.c_str();
    Require(IVEndofLine(terminated.get(), -1, nullptr, 0, eol) ==
            static_cast<int>(Rewrite(front, eol).size()) + 1);
}

/// What becomes of a text does not depend on where a character stands, and comes back where there is a way.
void Translate(const std::string& text, QVCharCode code, PlatformSign from, PlatformSign to)
{
    char map[256];
    for (int i = 0; i < 256; ++i) {
        map[i] = static_cast<char>(i);
        IVChars(from, map + i, 1, code, to);
    }
    const std::unique_ptr<char[]> translated = CopyOf(text);
    IVChars(from, translated.get(), static_cast<int>(text.size()), code, to);
    for (std::size_t i = 0; i < text.size(); ++i) {
        Require(translated[i] == map[static_cast<unsigned char>(text[i])]);
        Require(static_cast<unsigned char>(text[i]) >= 0x80 || translated[i] == text[i]);
    }
    if (from != WinLikePlatformSign && to != WinLikePlatformSign) { // that way goes in one direction only
        IVChars(to, translated.get(), static_cast<int>(text.size()), code, from);
        Require(std::memcmp(translated.get(), text.data(), text.size()) == 0);
    }
    std::unique_ptr<char[]> counted = CopyOf(text);
    if (!text.empty() && static_cast<unsigned char>(text[0]) < text.size()) {
        IVPString(from, reinterpret_cast<unsigned char*>(counted.get()), code, to);
        Require(counted[0] == text[0]);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3 || size > 4096) {
        return 0;
    }
    const PlatformSign signs[] = {MacPlatformSign, MacIntelPlatformSign, WinPlatformSign, WinLikePlatformSign,
                                  PlatformSign(0)};
    const std::string text(reinterpret_cast<const char*>(data + 3), size - 3);
    RewriteLineEnds(text, static_cast<EOLType>(data[0] % 3), data[0] / 3 % 4);
    Translate(text, static_cast<QVCharCode>(data[1] % 101), signs[data[2] % 5], signs[data[2] / 5 % 5]);
    return 0;
}
