// States over arbitrary bytes: a read ends in a code and an empty state, or in one that can be printed, copied
// and written as it was read.

#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/ObjectModel/ObjectState.hpp>

#include <cstdint>
#include <cstdlib>
#include <cstring>

using namespace QV;

namespace {

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    IMemChannel ic(data, static_cast<int>(size));
    ObjectState state(1);
    const QVErrCode error = state.Read(ic);
    if (error != NoError) {
        Require(error == ErrDataIntegrity || error == ErrEndOfInput || error == ErrGeneral);
        Require(state.IsEmpty());
        return 0;
    }
    UInt64 rest = 0;
    ic.GetAvailable(&rest);
    OMemChannel oc;
    Require(state.Write(oc) == NoError);
    Require(oc.DataSize() == size - rest && std::memcmp(oc.LockData(), data, oc.DataSize()) == 0);
    state.ToText();
    const ObjectState copy(state);
    Require(copy.GetKind() == state.GetKind() && copy.GetCount() == state.GetCount());
    return 0;
}
