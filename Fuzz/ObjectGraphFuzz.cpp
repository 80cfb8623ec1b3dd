// Object graphs over arbitrary bytes: whatever they claim, a read ends in a code, all objects are released, and
// what is read successfully can be written and read again with the same bytes.

#include <Host/PositionedMemIChannel.hpp>
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/Channel/SwappedMemProtocol.hpp>
#include <Tests/Support/GraphModel.hpp>

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace QV;
using namespace QV::Test;

namespace {

const RegisteredClass<Node> nodes(nodeInfo);
const RegisteredClass<Box> boxes(boxInfo);

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

bool IsKnown(QVErrCode error)
{
    return error == ErrDataIntegrity || error == ErrEndOfInput || error == ErrGeneral || error == ErrMemoryFull;
}

std::string Write(const Object* root)
{
    OMemChannel oc;
    Require(ObjectOutput(oc).Write(root) == NoError);
    return std::string(oc.LockData(), oc.DataSize());
}

/// Reads roots until there is no more; what came is written once more.
void Read(IChannel& ic, ObjectInput::UnknownClasses unknown, bool canBeWritten)
{
    ObjectInput in(ic, unknown);
    QVErrCode error = NoError;
    for (int i = 0; i < 100 && error == NoError; ++i) {
        Object* root = nullptr;
        error = in.Read(root);
        Require(error == NoError || IsKnown(error));
        if (error == NoError && root != nullptr && canBeWritten) {
            const std::string bytes = Write(root);
            IMemChannel again(bytes.data(), static_cast<int>(bytes.size()));
            ObjectInput inAgain(again, unknown);
            Object* rootAgain = nullptr;
            Require(inAgain.Read(rootAgain) == NoError);
            Require(Write(rootAgain) == bytes);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const int live = liveObjects;
    for (const auto unknown :
         {ObjectInput::RefuseUnknown, ObjectInput::SkipUnknown, ObjectInput::KeepUnknown}) {
        IMemChannel memory(data, static_cast<int>(size));
        Read(memory, unknown, true);
        Require(liveObjects == live);
    }
    ISwappedMemProtocol swapped;
    Host::PositionedMemIChannel positioned(data, size);
    positioned.SetInputProtocol(swapped);
    Read(positioned, ObjectInput::KeepUnknown, false);
    Require(liveObjects == live);
    return 0;
}
