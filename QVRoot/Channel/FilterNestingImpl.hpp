/// The depth of a filter above the channel below it.
#pragma once

#include <QVRoot/Channel/BinaryChannelRef.hpp>
#include <QVRoot/Exceptions/GeneralExceptions.hpp>

namespace QV::Impl {

template <class Filter, class Channel>
UInt32 GetNestingAbove(const BinaryChannelRef<Channel>& underlying)
{
    if (underlying.Get() == nullptr) {
        QV_THROW(PreconditionException, "there is no underlying channel");
    }
    if (underlying->GetNesting() >= Filter::MaxNesting) {
        QV_THROW(LimitViolationException, "channels are nested too deeply");
    }
    return underlying->GetNesting() + 1;
}

} // namespace QV::Impl
