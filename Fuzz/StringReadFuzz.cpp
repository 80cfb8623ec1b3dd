// String::Read over arbitrary bytes: in one piece, dribbling, and byte by byte through a protocol that is not
// the native one. All must give the same string and the same code, and what was read must write the same
// bytes.

#include <Host/PositionedMemIChannel.hpp>
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/String/String.hpp>
#include <Tests/Support/DribblingIChannel.hpp>

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace QV;

namespace {

/// The native encoding under another type, so that no shortcut is taken.
class PlainProtocol : public IMemProtocol {};

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

struct Result {
    String text;
    QVErrCode code;
};

Result ReadFrom(IChannel& ic)
{
    Result result{"before", NoError};
    result.code = result.text.Read(ic);
    Require(result.text.CheckState() && (result.code == NoError || result.text.IsEmpty()));
    return result;
}

void RequireSame(const Result& a, const Result& b)
{
    Require(a.code == b.code && a.text == b.text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    CHSetLegacyCharCode(WesternCharCode);
    IMemChannel whole(data, static_cast<int>(size));
    const Result expected = ReadFrom(whole);
    if (expected.code == NoError && data[0] == 3 && data[1] == 0) {
        OMemChannel oc;
        Require(expected.text.Write(oc) == NoError);
        Require(std::memcmp(oc.LockData(), data, oc.DataSize()) == 0);
    }

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
