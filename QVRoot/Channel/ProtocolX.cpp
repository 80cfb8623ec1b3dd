#include <QVRoot/Channel/IBinaryChannelUtilities.hpp>
#include <QVRoot/Channel/IProtocolX.hpp>
#include <QVRoot/Channel/OProtocolX.hpp>
#include <QVRoot/Exceptions/IOExceptions.hpp>

namespace QV {

static_assert(std::endian::native == std::endian::little, "the platform's order is the one of the images");

namespace {

template <class Word>
constexpr Word ReverseBytes(Word word) noexcept
{
    Word reversed = 0;
    for (USize i = 0; i < sizeof(Word); ++i) {
        reversed = static_cast<Word>(reversed | static_cast<Word>(word >> 8 * i & 0xFF)
                                                    << 8 * (sizeof(Word) - 1 - i));
    }
    return reversed;
}

template <bool Swaps, class Word>
inline void ReadImage(IBinaryChannel& channel, Word& word)
{
    Word image;
    char* const bytes = reinterpret_cast<char*>(&image);
    if (const UInt32 got = channel.Read(bytes, sizeof(Word)); got != sizeof(Word)) [[unlikely]] {
        IBinaryChannelUtilities::ReadExactly(channel, bytes + got, sizeof(Word) - got);
    }
    word = Swaps ? ReverseBytes(image) : image;
}

template <bool Swaps, class Word>
inline void WriteImage(OBinaryChannel& channel, Word word)
{
    const Word image = Swaps ? ReverseBytes(word) : word;
    channel.Write(reinterpret_cast<const char*>(&image), sizeof(Word));
}

/// Keeps an instance from being destroyed.
template <class T>
union Immortal {
    constexpr Immortal() noexcept : value() {}
    ~Immortal() {}

    T value;
};

constinit Immortal<PlatformIProtocolX> platformIProtocol;
constinit Immortal<SwappingIProtocolX> swappingIProtocol;
constinit Immortal<NetworkByteOrderIProtocolX> networkIProtocol;
constinit Immortal<PlatformOProtocolX> platformOProtocol;
constinit Immortal<SwappingOProtocolX> swappingOProtocol;
constinit Immortal<NetworkByteOrderOProtocolX> networkOProtocol;

} // namespace

constinit const PlatformIProtocolX& platformIProtocolX = platformIProtocol.value;
constinit const SwappingIProtocolX& swappingIProtocolX = swappingIProtocol.value;
constinit const NetworkByteOrderIProtocolX& networkByteOrderIProtocolX = networkIProtocol.value;
constinit const PlatformOProtocolX& platformOProtocolX = platformOProtocol.value;
constinit const SwappingOProtocolX& swappingOProtocolX = swappingOProtocol.value;
constinit const NetworkByteOrderOProtocolX& networkByteOrderOProtocolX = networkOProtocol.value;

const IProtocolX& GetIProtocolX(PlatformSign writer) noexcept
{
    if (NeedByteSwap(writer)) {
        return swappingIProtocolX;
    }
    return platformIProtocolX;
}

const OProtocolX& GetOProtocolX(PlatformSign reader) noexcept
{
    if (NeedByteSwap(reader)) {
        return swappingOProtocolX;
    }
    return platformOProtocolX;
}

IProtocolX::~IProtocolX() = default;
PlatformIProtocolX::~PlatformIProtocolX() = default;
SwappingIProtocolX::~SwappingIProtocolX() = default;
NetworkByteOrderIProtocolX::~NetworkByteOrderIProtocolX() = default;

void PlatformIProtocolX::ReadWord(IBinaryChannel& channel, UInt8& word) const
{
    ReadImage<false>(channel, word);
}

void PlatformIProtocolX::ReadWord(IBinaryChannel& channel, UInt16& word) const
{
    ReadImage<false>(channel, word);
}

void PlatformIProtocolX::ReadWord(IBinaryChannel& channel, UInt32& word) const
{
    ReadImage<false>(channel, word);
}

void PlatformIProtocolX::ReadWord(IBinaryChannel& channel, UInt64& word) const
{
    ReadImage<false>(channel, word);
}

void SwappingIProtocolX::ReadWord(IBinaryChannel& channel, UInt8& word) const
{
    ReadImage<true>(channel, word);
}

void SwappingIProtocolX::ReadWord(IBinaryChannel& channel, UInt16& word) const
{
    ReadImage<true>(channel, word);
}

void SwappingIProtocolX::ReadWord(IBinaryChannel& channel, UInt32& word) const
{
    ReadImage<true>(channel, word);
}

void SwappingIProtocolX::ReadWord(IBinaryChannel& channel, UInt64& word) const
{
    ReadImage<true>(channel, word);
}

OProtocolX::~OProtocolX() = default;
PlatformOProtocolX::~PlatformOProtocolX() = default;
SwappingOProtocolX::~SwappingOProtocolX() = default;
NetworkByteOrderOProtocolX::~NetworkByteOrderOProtocolX() = default;

void PlatformOProtocolX::WriteWord(OBinaryChannel& channel, UInt8 word) const
{
    WriteImage<false>(channel, word);
}

void PlatformOProtocolX::WriteWord(OBinaryChannel& channel, UInt16 word) const
{
    WriteImage<false>(channel, word);
}

void PlatformOProtocolX::WriteWord(OBinaryChannel& channel, UInt32 word) const
{
    WriteImage<false>(channel, word);
}

void PlatformOProtocolX::WriteWord(OBinaryChannel& channel, UInt64 word) const
{
    WriteImage<false>(channel, word);
}

void SwappingOProtocolX::WriteWord(OBinaryChannel& channel, UInt8 word) const
{
    WriteImage<true>(channel, word);
}

void SwappingOProtocolX::WriteWord(OBinaryChannel& channel, UInt16 word) const
{
    WriteImage<true>(channel, word);
}

void SwappingOProtocolX::WriteWord(OBinaryChannel& channel, UInt32 word) const
{
    WriteImage<true>(channel, word);
}

void SwappingOProtocolX::WriteWord(OBinaryChannel& channel, UInt64 word) const
{
    WriteImage<true>(channel, word);
}

} // namespace QV
