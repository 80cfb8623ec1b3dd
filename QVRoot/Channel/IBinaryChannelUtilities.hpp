/// What can be said of every binary input channel in terms of its own operations.
///
/// Threads: as the channels. Errors: those of the channels, and what is named here. Allocation: none.
#pragma once

#include <QVRoot/Channel/IBinaryChannel.hpp>
#include <QVRoot/Channel/OBinaryChannel.hpp>

namespace QV::IBinaryChannelUtilities {

/// Passes over n bytes and answers how many there were: fewer only where the input ends.
QV_EXPORT UInt64 Skip(IBinaryChannel& channel, UInt64 n);

/// Reads up to n bytes across the pieces that single reads may end at; fewer only where the input ends.
QV_EXPORT UInt64 ReadUpTo(IBinaryChannel& channel, char* dest, UInt64 n);

/// Reads n bytes. `EndOfInputException` where the input ends before; what was there has been consumed.
QV_EXPORT void ReadExactly(IBinaryChannel& channel, char* dest, UInt64 n);

/// Copies n bytes and answers how many there were: fewer only where the input ends. All bits set means: to
/// the end.
QV_EXPORT UInt64 Copy(IBinaryChannel& in, OBinaryChannel& out, UInt64 n = ~UInt64{0});

} // namespace QV::IBinaryChannelUtilities
