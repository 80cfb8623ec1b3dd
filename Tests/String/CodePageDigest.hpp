// Everything that a code page answers, as three numbers. Also read by scripts/MakeCodePageDigests.cpp.
#pragma once

#include <string>
#include <string_view>

namespace QV::Testing {

/// The answers of one code page, by the operating system's number.
struct CodePageDigests {
    unsigned page;
    unsigned long long decoding;
    unsigned long long lossy;
    unsigned long long exact;
    unsigned exactUnits; ///< units below 0x10000 that the page has
    unsigned bestFits;   ///< others that become something else than '?'
};

/// FNV-1a over 16-bit numbers.
class Digest {
public:
    void Add(unsigned value)
    {
        for (int shift = 0; shift < 16; shift += 8) {
            value_ = (value_ ^ (value >> shift & 0xFF)) * 0x100000001B3;
        }
    }
    template <class Text>
    void AddText(const Text& text)
    {
        Add(static_cast<unsigned>(text.size()));
        for (const auto c : text) {
            Add(static_cast<unsigned>(c));
        }
    }
    unsigned long long Get() const { return value_; }

private:
    unsigned long long value_ = 0xCBF29CE484222325;
};

class DigestRandom {
public:
    unsigned Next(unsigned bound)
    {
        state_ = state_ * 6364136223846793005 + 1442695040888963407;
        return static_cast<unsigned>(state_ >> 33) % bound;
    }

private:
    unsigned long long state_ = 1;
};

/// Every byte alone, every pair of bytes, and texts in which leads meet zeros and ends.
/// `decode(std::string_view)` answers a `std::u16string`.
template <class Decode>
unsigned long long DigestDecoding(Decode decode)
{
    Digest digest;
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const char bytes[2] = {static_cast<char>(pair >> 8), static_cast<char>(pair)};
        digest.AddText(decode(std::string_view(bytes, pair < 0x100 ? 1 : 2)));
    }
    DigestRandom random;
    for (int round = 0; round < 2000; ++round) {
        std::string text(random.Next(12) + 1, 0);
        for (char& c : text) {
            c = static_cast<char>(random.Next(4) == 0 ? random.Next(0x50) : 0x80 + random.Next(0x80));
        }
        digest.AddText(decode(std::string_view(text)));
    }
    return digest.Get();
}

/// Every unit alone, and texts with whole and broken surrogate pairs. `encode(std::u16string_view)` answers a
/// `std::string`, empty for a failure.
template <class Encode>
unsigned long long DigestEncoding(Encode encode)
{
    Digest digest;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const char16_t text = static_cast<char16_t>(unit);
        digest.AddText(encode(std::u16string_view(&text, 1)));
    }
    DigestRandom random;
    for (int round = 0; round < 2000; ++round) {
        std::u16string text(random.Next(12) + 1, 0);
        for (char16_t& unit : text) {
            unit =
                static_cast<char16_t>(random.Next(8) == 0 ? 0xD800 + random.Next(0x800) : random.Next(0x500));
        }
        digest.AddText(encode(std::u16string_view(text)));
    }
    return digest.Get();
}

template <class Decode, class EncodeLossy, class EncodeExactly>
CodePageDigests DigestCodePage(unsigned page, Decode decode, EncodeLossy encodeLossy,
                               EncodeExactly encodeExactly)
{
    CodePageDigests digests = {
        page, DigestDecoding(decode), DigestEncoding(encodeLossy), DigestEncoding(encodeExactly), 0, 0};
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        const char16_t text = static_cast<char16_t>(unit);
        if (!encodeExactly(std::u16string_view(&text, 1)).empty()) {
            ++digests.exactUnits;
        } else if (encodeLossy(std::u16string_view(&text, 1)) != "?") {
            ++digests.bestFits;
        }
    }
    return digests;
}

} // namespace QV::Testing
