/// The text about the failure of a graph.
#pragma once

#include <QVRoot/BasicEnvironment/ErrorStatus.hpp>

namespace QV {
class ClassInfo;
}

namespace QV::Impl {

/// What the failure of a graph was about.
struct GraphFault {
    const char* reason = nullptr;         ///< null: nothing is known beside the code
    UInt32 object = 0;                    ///< 1 for the first one, 0 for none
    const ClassInfo* classInfo = nullptr; ///< null: not known
};

/// Without memory, there is the code alone.
void SetGraphStatus(ErrorStatus& status, QVErrCode error, const GraphFault& fault) noexcept;

} // namespace QV::Impl
