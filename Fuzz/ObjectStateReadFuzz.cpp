// States over arbitrary bytes: a read ends in a code and an empty state, or in one that can be printed, copied
// and written, and then comes back. Its bytes may be others: strings of a newer sub version are read, too.

#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <QVRoot/ObjectModel/ObjectState.hpp>

#include <cstdint>
#include <cstdlib>
#include <string>

using namespace QV;

namespace {

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

std::string Write(const ObjectState& state)
{
    OMemChannel oc;
    Require(state.Write(oc) == NoError);
    return std::string(oc.LockData(), oc.DataSize());
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
    const std::string bytes = Write(state);
    IMemChannel again(bytes.data(), static_cast<int>(bytes.size()));
    ObjectState same;
    Require(same.Read(again) == NoError);
    Require(Write(same) == bytes);
    state.ToText();
    const ObjectState copy(state);
    Require(copy.GetKind() == state.GetKind() && copy.GetCount() == state.GetCount());
    return 0;
}
