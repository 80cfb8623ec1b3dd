/// Whole transfers over channels that may move fewer bytes than they are asked for.
#pragma once

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/OChannel.hpp>

namespace QV::Impl {

/// Reads exactly n bytes or answers why not. The bytes that came before a failure are in the destination;
/// `got`, where given, says how many.
QVErrCode ReadFully(IChannel& ic, char* dest, UInt32 n, UInt32* got = nullptr);

/// Writes exactly n bytes or answers why not.
QVErrCode WriteFully(OChannel& oc, const char* src, UInt32 n);

/// Whether the channel's protocol is exactly the native one, so that the image of an array of scalars may be
/// moved in one piece instead of element by element.
bool HasNativeProtocol(const IChannel& ic) noexcept;
bool HasNativeProtocol(const OChannel& oc) noexcept;

} // namespace QV::Impl
