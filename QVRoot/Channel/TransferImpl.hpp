/// Whole transfers over channels that may move fewer bytes than they are asked for.
#pragma once

#include <QVRoot/Channel/IChannel.hpp>
#include <QVRoot/Channel/MemProtocol.hpp>
#include <QVRoot/Channel/OChannel.hpp>

#include <typeinfo>

namespace QV::Impl {

/// Whether an object is of exactly this class. By address, which is all that it takes where the class has its
/// type information in one module; a copy of it elsewhere costs speed, since the names are not compared.
template <class T, class Base>
bool IsExactly(const Base& object) noexcept
{
    return &typeid(object) == &typeid(T);
}

/// Reads exactly n bytes or answers why not. The bytes that came before a failure are in the destination;
/// `got`, where given, says how many.
QVErrCode ReadFully(IChannel& ic, char* dest, UInt32 n, UInt32* got = nullptr);

/// Writes exactly n bytes or answers why not.
QVErrCode WriteFully(OChannel& oc, const char* src, UInt32 n);

/// Whether the channel's protocol is exactly the native one, so that the image of an array of scalars may be
/// moved in one piece instead of element by element.
inline bool HasNativeProtocol(const IChannel& ic) noexcept
{
    return IsExactly<IMemProtocol>(ic.GetInputProtocol());
}
inline bool HasNativeProtocol(const OChannel& oc) noexcept
{
    return IsExactly<OMemProtocol>(oc.GetOutputProtocol());
}

} // namespace QV::Impl
