#include <QVRoot/ObjectModel/ClassInfo.hpp>
#include <QVRoot/ObjectModel/GraphStatusImpl.hpp>
#include <QVRoot/String/UniString.hpp>

#include <cstdio>

namespace QV::Impl {

void SetGraphStatus(ErrorStatus& status, QVErrCode error, const GraphFault& fault) noexcept
{
    status.SetErrorCode(error);
    if (fault.reason == nullptr) {
        return;
    }
    char object[32] = "";
    if (fault.object != 0) {
        std::snprintf(object, sizeof(object), "object %u: ", fault.object);
    }
    char text[256];
    if (fault.classInfo != nullptr) {
        std::snprintf(text, sizeof(text), "%sclass \"%.120s\": %s", object, fault.classInfo->GetName(),
                      fault.reason);
    } else {
        std::snprintf(text, sizeof(text), "%s%s", object, fault.reason);
    }
    try {
        status.SetErrorMessage(UniString(text));
    } catch (...) {
        status.SetErrorCode(error);
    }
}

} // namespace QV::Impl
