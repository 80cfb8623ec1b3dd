// UniString::Read over arbitrary bytes: in one piece, dribbling, and unit by unit through a protocol that is
// not the native one. All must give the same string and the same code.

#include <Host/PositionedMemIChannel.hpp>
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/String/UniString.hpp>
#include <Tests/Support/DribblingIChannel.hpp>

#include <cstdint>
#include <cstdlib>

using namespace QV;

namespace {

/// The native encoding under another type, so that no shortcut is taken.
class PlainProtocol : public IMemProtocol {};

struct Result {
    UniString text;
    QVErrCode code;
};

Result ReadFrom(IChannel& ic)
{
    Result result{UniString(u"before"), NoError};
    result.code = result.text.Read(ic);
    if (result.code != NoError && !result.text.IsEmpty()) {
        std::abort();
    }
    return result;
}

void RequireSame(const Result& a, const Result& b)
{
    if (a.code != b.code || !(a.text == b.text)) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    IMemChannel whole(data, static_cast<int>(size));
    const Result expected = ReadFrom(whole);

    for (const UInt32 most : {1u, 3u}) {
        Host::PositionedMemIChannel below(data, size);
        Test::DribblingIChannel dribbling(below, most);
        // Without positions a frame with a sub version cannot be read; with them it can.
        if (size < 2 || data[1] == 0) {
            RequireSame(ReadFrom(dribbling), expected);
        }
    }

    Host::PositionedMemIChannel positioned(data, size);
    const Result framed = ReadFrom(positioned);
    PlainProtocol protocol;
    Host::PositionedMemIChannel plain(data, size);
    plain.SetInputProtocol(protocol);
    RequireSame(ReadFrom(plain), framed);
    return 0;
}
