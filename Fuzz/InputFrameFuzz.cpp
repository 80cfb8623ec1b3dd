// Frames over arbitrary bytes: whatever length a frame claims, the reader stays inside the input, never goes
// back, and a sound frame ends where its length says.

#include <Host/PositionedMemIChannel.hpp>
#include <QVRoot/ObjectModel/Frame.hpp>

#include <cstdint>
#include <cstdlib>

using namespace QV;

namespace {

constexpr ClassInfo fuzzInfo("Fuzz", {1, 2}, Guid(), {3, 1}, {3, 1});

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

/// Reads one frame and some of its fields; answers whether another may follow.
bool ReadFrame(IChannel& ic, UInt64 size)
{
    UInt64 start = 0;
    UInt64 expected = 0;
    bool skips = false;
    ic.GetInputPosition(&start);
    {
        const InputFrame frame(ic, fuzzInfo);
        UInt64 data = 0;
        ic.GetInputPosition(&data);
        if (frame.GetStatus() == NoError) {
            Require(frame.GetMainVersion() >= 1 && frame.GetMainVersion() <= 3);
            Require(data == start + (frame.GetSubVersion() == 0 ? 2 : 6));
            Require(frame.GetSubVersion() != 0 || frame.GetDataLength() == 0);
            UInt16 field = 0;
            const bool whole = ic.Read(field) == NoError;
            skips = whole && frame.GetDataLength() >= sizeof(field);
            expected = data + frame.GetDataLength();
        } else {
            Require(frame.GetStatus() == ErrGeneral || frame.GetStatus() == ErrEndOfInput);
        }
    }
    UInt64 end = 0;
    ic.GetInputPosition(&end);
    Require(end >= start && end <= size);
    if (skips) {
        Require(expected <= size ? end == expected && ic.GetInputStatus() == NoError
                                 : end == size && ic.GetInputStatus() == ErrEndOfInput);
    }
    return ic.GetInputStatus() == NoError && end > start;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Host::PositionedMemIChannel in(data, size);
    while (ReadFrame(in, size)) {
    }
    return 0;
}
