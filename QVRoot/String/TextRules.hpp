/// The rules that functions on text take as arguments.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

/// Whether letters differ by case. The other way round than `UniChar::CaseComparison`.
enum CaseType : Int32 {
    CaseInsensitiveType = 0,
    CaseSensitiveType = 1,
};

/// What ends a line.
enum EOLType : Int32 {
    EOLCR = 0,
    EOLLF = 1,
    EOLCRLF = 2,
};

} // namespace QV
