#include <QVRoot/Utilities/GuidGeneratorImpl.hpp>

#include <windows.h>

#include <rpc.h>

namespace QV::Impl {

bool GenerateRandomGuid(Guid& value) noexcept
{
    UUID uuid;
    const RPC_STATUS status = UuidCreate(&uuid);
    // An identifier that is unique on this computer only is one, too.
    if (status != RPC_S_OK && status != RPC_S_UUID_LOCAL_ONLY) {
        return false;
    }
    value = Guid(uuid.Data1, uuid.Data2, uuid.Data3, uuid.Data4);
    return true;
}

void CallAfterFork(void (*)()) noexcept {}

} // namespace QV::Impl
