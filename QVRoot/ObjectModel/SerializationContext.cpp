#include <QVRoot/ObjectModel/SerializationContext.hpp>

namespace QV {

namespace {

constinit UInt32 nextFlagMask = 1;
constinit UInt32 nextPointerIndex = 0;

} // namespace

SerializationContext::Flag::Flag() : mask_(nextFlagMask)
{
    nextFlagMask *= 2;
}

SerializationContext::Pointer::Pointer() : index_(nextPointerIndex++) {}

} // namespace QV
