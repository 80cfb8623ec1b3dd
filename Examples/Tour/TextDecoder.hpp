/// From a file's bytes to text.
///
/// UTF-16 and UTF-8 are known by their byte-order marks, which do not become part of the text. Everything
/// else is in the code page that the caller names. Nothing is repaired: a byte that does not belong there is
/// a fault.
#pragma once

#include <QVRoot/String/CharCode.hpp>
#include <QVRoot/String/UniString.hpp>

namespace Tour {

/// Why a text could not be decoded; null when it could.
struct DecodeFault {
    const char* what = nullptr;
    QV::UInt64 offset = 0; ///< of the first byte that does not belong there
};

/// Up to 2^30 bytes.
DecodeFault DecodeText(const char* bytes, QV::UInt64 size, QV::QVCharCode code, QV::UniString* text);

} // namespace Tour
