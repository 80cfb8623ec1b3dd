/// The platform that data were written on.
#pragma once

#include <QVRoot/BasicEnvironment/BaseTypes.h>

namespace QV {

/// Two equal ASCII letters. The running platform is little-endian; only `MacPlatformSign` marks big-endian
/// data.
enum PlatformSign : UInt32 {
    MacPlatformSign = 0x4D4D,      ///< "MM": big-endian, Mac character sets
    MacIntelPlatformSign = 0x6D6D, ///< "mm": little-endian, Mac character sets
    WinPlatformSign = 0x5757,      ///< "WW": little-endian, Windows character sets
    WinLikePlatformSign = 0x5555,  ///< "UU": little-endian, Windows character sets
};

/// Whether data with this sign must have their bytes swapped here.
constexpr bool NeedByteSwap(PlatformSign sign) noexcept
{
    return sign == MacPlatformSign;
}

} // namespace QV
