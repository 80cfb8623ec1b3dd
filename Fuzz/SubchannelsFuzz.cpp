// Sub-channels over arbitrary bytes. The first bytes say which sections are opened inside each other, in
// which byte order, and how few bytes the source delivers at a time; the rest is the input. A plain reading
// of the formats over the same bytes says what must come out. What came out whole must write the same content
// again.

#include <QVRoot/Channel/BufferedIBinaryChannel.hpp>
#include <QVRoot/Channel/IBinaryChannelUtilities.hpp>
#include <QVRoot/Channel/MemoryIBinaryChannel.hpp>
#include <QVRoot/Channel/MemoryOBinaryChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedIBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/ChunkedOBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/LengthDeterminedIBinarySubChannel.hpp>
#include <QVRoot/Channel/Subchannels/LengthDeterminedOBinarySubChannel.hpp>
#include <Tests/Support/StubbornBinaryChannels.hpp>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

using namespace QV;

namespace {

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

struct Level {
    explicit Level(unsigned char byte)
        : isChunked((byte & 1) != 0), isBuffered((byte & 4) != 0),
          iprotocol(GetIProtocolX((byte & 2) != 0 ? MacPlatformSign : WinPlatformSign)),
          oprotocol(GetOProtocolX((byte & 2) != 0 ? MacPlatformSign : WinPlatformSign)),
          swaps((byte & 2) != 0)
    {
    }

    RefPtr<IBinaryChannel> Open(RefPtr<IBinaryChannel> below) const
    {
        if (isBuffered) {
            below = MakeRef<BufferedIBinaryChannel>(below, 5);
        }
        if (isChunked) {
            return MakeRef<ChunkedIBinarySubChannel>(below, iprotocol);
        }
        return MakeRef<LengthDeterminedIBinarySubChannel>(below, iprotocol);
    }

    bool isChunked;
    bool isBuffered;
    const IProtocolX& iprotocol;
    const OProtocolX& oprotocol;
    bool swaps;
};

/// The content of the section at the beginning; nothing where it is cut off. `end` is where it ends.
class PlainReader {
public:
    PlainReader(const std::string& bytes, const Level& level) : bytes_(bytes), level_(level) {}

    std::optional<std::string> Read()
    {
        std::string content;
        if (!level_.isChunked) {
            const std::optional<UInt64> length = ReadNumber(8);
            return length && Take(*length, content) ? std::optional(content) : std::nullopt;
        }
        for (;;) {
            const std::optional<UInt64> length = ReadNumber(4);
            if (!length) {
                return std::nullopt;
            }
            if (*length == 0 || *length == 0xFFFFFFFF) {
                return content;
            }
            if (!Take(*length, content)) {
                return std::nullopt;
            }
        }
    }

    USize end = 0;

private:
    std::optional<UInt64> ReadNumber(USize size)
    {
        if (bytes_.size() - end < size) {
            return std::nullopt;
        }
        UInt64 number = 0;
        for (USize i = 0; i < size; ++i) {
            const USize place = level_.swaps ? size - 1 - i : i;
            number |= UInt64{static_cast<unsigned char>(bytes_[end + i])} << 8 * place;
        }
        end += size;
        return number;
    }

    bool Take(UInt64 length, std::string& content)
    {
        const bool isWhole = length <= bytes_.size() - end;
        content.append(bytes_, end, isWhole ? length : std::string::npos);
        end += isWhole ? length : 0;
        return isWhole;
    }

    const std::string& bytes_;
    const Level& level_;
};

/// The content of all levels; nothing where any of them is cut off.
std::optional<std::string> ReadPlainly(std::string bytes, const std::string& levels, USize& outermostEnd)
{
    bool isOutermost = true;
    for (const char byte : levels) {
        const Level level(static_cast<unsigned char>(byte));
        PlainReader reader(bytes, level);
        std::optional<std::string> content = reader.Read();
        if (!content) {
            return std::nullopt;
        }
        outermostEnd = isOutermost ? reader.end : outermostEnd;
        isOutermost = false;
        bytes = *content;
    }
    return bytes;
}

std::string ReadAllOf(IBinaryChannel& in, UInt32 step)
{
    std::string content;
    std::string piece(step, '\0');
    for (;;) {
        const UInt64 available = in.GetAvailable();
        const UInt32 got = in.Read(piece.data(), step, content.size() % 3 == 0 ? ReadAtLeastOne : ReadAll);
        Require(got != 0 || available == 0);
        if (got == 0) {
            Require(in.IsEOI());
            return content;
        }
        content.append(piece, 0, got);
    }
}

void WriteAndReadBack(const std::string& content, const std::string& levels, UInt32 chunkSize)
{
    RefPtr<OBinaryChannel> out = MakeRef<MemoryOBinaryChannel>();
    const auto bottom = static_cast<MemoryOBinaryChannel*>(out.Get());
    std::vector<RefPtr<OBinaryChannel>> sections;
    for (const char byte : levels) {
        const Level level(static_cast<unsigned char>(byte));
        if (level.isChunked) {
            out = MakeRef<ChunkedOBinarySubChannel>(out, level.oprotocol, chunkSize);
        } else {
            out = MakeRef<LengthDeterminedOBinarySubChannel>(out, level.oprotocol);
        }
        sections.push_back(out);
    }
    out->Write(content.data(), static_cast<UInt32>(content.size()));
    for (USize i = sections.size(); i-- != 0;) {
        sections[i]->Close();
    }
    USize end = 0;
    const std::string image(bottom->GetData(), bottom->GetSize());
    Require(ReadPlainly(image, levels, end) == content && end == image.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3) {
        return 0;
    }
    const USize levelCount = 1 + data[0] % 8;
    const UInt32 most = 1 + data[1] % 16;
    const UInt32 step = 1 + data[1] / 16;
    const std::string all(reinterpret_cast<const char*>(data) + 2, size - 2);
    const std::string levels = all.substr(0, levelCount);
    const std::string bytes = all.substr(levels.size());
    USize end = 0;
    const std::optional<std::string> expected = ReadPlainly(bytes, levels, end);

    RefPtr<IBinaryChannel> source = MakeRef<Test::StubbornIBinaryChannel>(bytes, most);
    if (most % 4 == 0) {
        source = MakeRef<MemoryIBinaryChannel>(bytes.data(), bytes.size()); // has a window to lend
    }
    try {
        std::vector<RefPtr<IBinaryChannel>> sections = {source};
        for (const char byte : levels) {
            sections.push_back(Level(static_cast<unsigned char>(byte)).Open(sections.back()));
        }
        const std::string content = ReadAllOf(*sections.back(), step);
        for (USize i = sections.size(); --i != 0;) {
            sections[i]->Close();
        }
        Require(expected == content);
        // A buffer reads beyond the section that lies above it.
        Require(bytes.size() - source->GetAvailable() == end ||
                Level(static_cast<unsigned char>(levels[0])).isBuffered);
        if (content.size() <= 512) {
            WriteAndReadBack(content, levels, 16 + most);
        }
    } catch (const IOException&) {
        Require(!expected.has_value());
    }
    return 0;
}
